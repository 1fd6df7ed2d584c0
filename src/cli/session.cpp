#include "cli/session.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <iostream>
#include <stdexcept>

#include "base/paths.h"
#include "clearing/cleared_log.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "platform/ownership.h"
#include "texts/moves.h"

namespace dw::cli {

bool stderrIsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}
bool stdinIsTerminal() {
  return ::isatty(STDIN_FILENO) == 1;
}

bool askToMove(std::string_view question) {
  std::cout << question << " [y/N] " << std::flush;
  std::string answer;
  if (!std::getline(std::cin, answer)) return false;
  answer = paths::asciiLower(answer);
  // Return alone means no: a move never starts from the keyboard without a word.
  return answer == "y" || answer == "yes";
}

void printLines(const std::vector<std::string>& lines) {
  for (const auto& line : lines)
    std::cout << line << '\n';
}

void PlaceOptions::addTo(CLI::App& command) {
  command.add_option("--root", root, "Scan a whole tree shaped like a computer's disk")
      ->capture_default_str();
  command.add_option("--home", home, "The home folder (default: yours)");
  command.add_option("--layout", layout, "The places to read: linux (the default here) or macos")
      ->check(CLI::IsMember({"linux", "macos"}));
}

Locations PlaceOptions::locations() const {
  try {
    return Locations::resolve(root, home, layout);
  } catch (const std::invalid_argument& e) {
    throw UsageError(e.what());
  }
}

std::optional<int> refuseInAnotherUsersHome(const Locations& places) {
  std::optional<std::string> refusal = Ownership::refusalToMove(places);
  if (!refusal) return std::nullopt;
  std::cerr << "dustwhale: " << displayText(*refusal) << '\n';
  return 1;
}

void recoverClearedLog(const Locations& places) {
  try {
    ClearedLog::recover(places);
  } catch (const std::exception& e) {
    std::cerr << "dustwhale: Recently Cleared could not be brought up to date: "
              << displayText(e.what()) << '\n';
  }
}

InterruptWatcher::InterruptWatcher() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  thread_ = std::thread([this, set] {
    while (true) {
      int signal = 0;
      if (sigwait(&set, &signal) != 0) continue;
      if (stopping_) return;
      std::function<void()> handler;
      {
        std::lock_guard lock(mutex_);
        handler = handler_;
      }
      if (handler) handler();
    }
  });
}

InterruptWatcher::~InterruptWatcher() {
  stopping_ = true;
  pthread_kill(thread_.native_handle(), SIGINT);
  thread_.join();
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void InterruptWatcher::onInterrupt(std::function<void()> handler) {
  std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
}

Session::Session(Locations places)
    : workspace_(platform::systemWorkspace()), defaults_(places.defaultsFile) {
  model_ = std::make_unique<ScanModel>(dispatcher_, std::move(places), *workspace_, defaults_);
  // Ctrl-C arrives on the watcher's thread; the model is touched only on its own.
  interrupts_.onInterrupt([this] {
    if (quitOnInterrupt_) {
      [[maybe_unused]] ssize_t ignored = ::write(STDERR_FILENO, "\n", 1);
      ::_exit(130);
    }
    interrupted_ = true;
    dispatcher_.post([this] {
      if (interruptAction_) interruptAction_();
    });
  });
}

Session::~Session() {
  interrupts_.onInterrupt({});
  model_.reset();
}

void Session::runUntil(const std::function<bool()>& done, std::function<void()> onInterrupt) {
  interruptAction_ = std::move(onInterrupt);
  dispatcher_.runUntil(done);
  interruptAction_ = nullptr;
}

bool Session::scan() {
  bool progress = stderrIsTerminal();
  if (progress) {
    model_->addObserver([this](ScanModel::Field field) {
      if (field == ScanModel::Field::message && model_->phase() == ScanModel::Phase::scanning())
        std::cerr << "\r\033[K" << displayText(model_->message()) << std::flush;
    });
  }
  model_->scan();
  runUntil([&] { return !model_->isScanRunning(); }, [this] { model_->cancelScan(); });
  if (progress) std::cerr << "\r\033[K" << std::flush;
  // Only a scan that finished records when it did; a cancelled or failed one leaves it unset.
  return model_->lastScannedAt().has_value();
}

std::optional<int> Session::confirmMove(bool dryRun, bool yes) {
  const texts::QuestionWords declined =
      texts::questionWords(model_->moves().kind(), model_->wording());
  if (dryRun) {
    std::cout << declined.dryRun << '\n';
    return 0;
  }
  if (yes) return std::nullopt;
  if (!stdinIsTerminal()) {
    std::cerr << "dustwhale: " << declined.noTerminal
              << "; confirm with --yes when there is no terminal to ask on\n";
    return 1;
  }
  setQuitOnInterrupt(true);
  bool confirmed = askToMove(displayText(model_->moves().title()));
  setQuitOnInterrupt(false);
  if (confirmed) return std::nullopt;
  std::cout << declined.answeredNo << '\n';
  return 0;
}

bool Session::runMove() {
  bool progress = stderrIsTerminal();
  if (progress) {
    model_->addObserver([this](ScanModel::Field field) {
      const auto& p = model_->progress();
      if (field == ScanModel::Field::progress && p && p->done > 0)
        std::cerr << "\r\033[K" << texts::progressLine(p->done, p->total, displayText(p->current))
                  << std::flush;
      if (field == ScanModel::Field::message && model_->isClearRunning())
        std::cerr << "\r\033[K" << displayText(model_->message()) << std::flush;
    });
  }
  model_->clearSelected();
  if (!model_->isClearRunning()) {
    std::cerr << displayText(model_->message()) << '\n';
    return false;
  }
  runUntil([this] { return !model_->isClearRunning(); }, [this] { model_->stopClearing(); });
  if (progress) std::cerr << "\r\033[K" << std::flush;
  std::cout << displayText(model_->message()) << '\n';
  return true;
}

}  // namespace dw::cli

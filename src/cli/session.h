#pragma once
// What every model-driven subcommand shares: the places (--root, --home, --layout), the model
// with its run loop, and Ctrl-C, which asks the running work to stop instead of killing it.

#include <CLI/CLI.hpp>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "model/dispatcher.h"
#include "model/scan_model.h"
#include "platform/defaults.h"
#include "platform/locations.h"
#include "platform/workspace.h"

namespace dw::cli {

struct PlaceOptions {
  std::string root = "/";
  std::string home;
  std::string layout;

  void addTo(CLI::App& command);
  // Throws UsageError with a one-line reason (a home folder that does not exist).
  Locations locations() const;
};

// Blocks SIGINT for the whole process (so every thread started afterwards inherits the mask)
// and turns each Ctrl-C into a call of the handler on a thread of its own.
class InterruptWatcher {
 public:
  InterruptWatcher();
  ~InterruptWatcher();
  void onInterrupt(std::function<void()> handler);

 private:
  std::atomic<bool> stopping_{false};
  std::function<void()> handler_;
  std::mutex mutex_;
  std::thread thread_;
};

class Session {
 public:
  explicit Session(Locations places);
  ~Session();

  ScanModel& model() { return *model_; }
  ThreadedDispatcher& dispatcher() { return dispatcher_; }

  // Runs the main scan to its end, reporting each area on standard error when it is a
  // terminal; Ctrl-C cancels it. True when the scan finished with results.
  bool scan();
  // The exit status of work that ended without its result: 130 when Ctrl-C stopped it (as a
  // shell reports a program ended by SIGINT), 1 when it failed.
  int unfinishedStatus() const { return interrupted_ ? 130 : 1; }
  // Runs the model's loop until done() holds; Ctrl-C runs onInterrupt on the model's thread.
  void runUntil(const std::function<bool()>& done, std::function<void()> onInterrupt);
  // While set (a question waits for an answer and nothing is moving), Ctrl-C ends the program
  // at once instead of waiting for the model's loop.
  void setQuitOnInterrupt(bool quit) { quitOnInterrupt_ = quit; }

  // The step before every move to the Trash, once the model's question (requestConfirm) lists
  // what would move: a dry run stops here, --yes goes ahead, and otherwise the question is asked
  // on the terminal (Ctrl-C quits while it waits; without a terminal nothing moves). The exit
  // code when the command ends here; nothing when the move goes ahead.
  std::optional<int> confirmMove(bool dryRun, bool yes);
  // Answers the model's question and runs its move to the end: "3 of 7 · item" on standard
  // error when it is a terminal, Ctrl-C stops it after the item in hand, and the move's outcome
  // goes to standard output. False when the model refused to start (its message says why, on
  // standard error).
  bool runMove();

 private:
  // Destroyed from the bottom up: the model first, then the dispatcher, which joins every task
  // before the workspace the tasks read goes.
  InterruptWatcher interrupts_;
  std::unique_ptr<platform::Workspace> workspace_;
  platform::UserDefaults defaults_;
  ThreadedDispatcher dispatcher_;
  std::unique_ptr<ScanModel> model_;
  std::function<void()> interruptAction_;
  std::atomic<bool> quitOnInterrupt_{false};
  std::atomic<bool> interrupted_{false};
};

// The question ("Move 3 items to the Trash?") and " [y/N] " on standard output; true only for
// an answer of "y" or "yes".
bool askToMove(std::string_view question);
// Prints lines on standard output, one a line.
void printLines(const std::vector<std::string>& lines);
// The first step of every command that moves (clear, duplicates --clear and --share, uninstall,
// put-back): in a home of another user (root with that user's HOME or --home) nothing is
// touched, not even made; the refusal says whom to run it as. The exit code when it refuses.
std::optional<int> refuseInAnotherUsersHome(const Locations& places);
// Finishes the bookkeeping of an interrupted clear or Put Back before a command reads the log
// (the model does the same when it is made); a failure is reported on standard error.
void recoverClearedLog(const Locations& places);

bool stderrIsTerminal();
bool stdinIsTerminal();

}  // namespace dw::cli

#pragma once
// What every flow of the model shares: where its work runs, the places and the system it reads,
// the words of this home, the one status line, and the observers told of each change. One per
// model, on the model's thread.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "model/dispatcher.h"
#include "platform/defaults.h"
#include "platform/locations.h"
#include "platform/workspace.h"
#include "texts/wording.h"

namespace dw {

// The model's published fields; an observer is told which one changed.
enum class ModelField {
  phase,
  lastScannedAt,
  volumeName,
  volume,
  caches,
  selected,
  message,
  confirm,
  confirmScope,
  confirmItems,
  moveStage,
  trashedBytesThisSession,
  progress,
  scanArea,
  unreadLeftoverLocations,
  showFullDiskAccessPrompt,
  clearedEntries,
  offerRecentlyCleared,
  duplicateGroups,
  duplicateKeepPath,
  duplicateSelected,
  duplicateScope,
  duplicateProgress,
  duplicatesScanning,
  duplicateSkipped,
  duplicateSharing,
  spaceRoot,
  spacePath,
  spaceSelected,
  spaceScanning,
  spaceElapsed,
  spaceComplete,
  installedApps,
  uninstallTarget,
  appsNeedingAdmin,
  appsLoading
};

// Whose status line a message is: each page of the app shows the newest message of its own
// flows (a clear's outcome on the list it cleared, a Put Back's on Recently Cleared), never
// another page's.
enum class MessageTopic {
  scan,
  caches,
  leftovers,
  largeFiles,
  duplicates,
  spaceMap,
  apps,
  cleared
};
inline constexpr std::size_t kMessageTopics = 8;

// A flow's long work where only the newest counts: beginning one cancels the one before, and
// the results of an overtaken one are dropped by their generation. Cancelled when it goes.
class LatestTask {
 public:
  LatestTask() = default;
  ~LatestTask() { cancel(); }
  LatestTask(const LatestTask&) = delete;
  LatestTask& operator=(const LatestTask&) = delete;

  // Cancels the running task; returns the generation of the one about to run.
  std::uint64_t begin();
  void run(std::shared_ptr<TaskHandle> handle) { handle_ = std::move(handle); }
  // Whether the results of this generation may publish.
  bool isNewest(std::uint64_t generation) const { return generation == generation_; }
  // The newest task's results are in.
  void ended() { handle_.reset(); }
  void cancel() {
    if (handle_) handle_->cancel();
  }
  bool running() const { return handle_ != nullptr; }

 private:
  std::uint64_t generation_ = 0;
  std::shared_ptr<TaskHandle> handle_;
};

class FlowContext {
 public:
  using Observer = std::function<void(ModelField)>;

  // The dispatcher, the workspace and the defaults outlive the model and every task it started.
  FlowContext(Dispatcher& dispatcher, Locations places, platform::Workspace& workspace,
              platform::UserDefaults& defaults);
  FlowContext(const FlowContext&) = delete;
  FlowContext& operator=(const FlowContext&) = delete;

  Dispatcher& dispatcher;
  const Locations places;
  const texts::Wording wording;
  platform::Workspace& workspace;
  platform::UserDefaults& defaults;

  void addObserver(Observer observer);
  void notify(ModelField field) const;

  // The newest status line of any flow (the command line's), and the newest of a page's own
  // flows: the scan's page shows the scan's; a clean list's, the newer of its clears' and the
  // scan's (which fills it); every other page, its own topic's.
  const std::string& message() const { return message_; }
  const std::string& statusLine(MessageTopic page) const;
  void say(std::string text, MessageTopic topic);

  // Brings a closure back to the model's thread, where it runs only while the model lives. A
  // task holds a Poster, never a flow, so it may outlive the model harmlessly.
  class Poster {
   public:
    void operator()(std::function<void()> closure) const;

   private:
    friend class FlowContext;
    Dispatcher* dispatcher_ = nullptr;
    std::weak_ptr<const bool> alive_;
  };
  Poster poster() const;

  // A test host sets XCTestConfigurationFilePath; then nothing starts by itself.
  static bool underTestHost();

 private:
  std::vector<Observer> observers_;
  std::string message_;
  struct Said {
    std::uint64_t order = 0;  // newer messages have larger orders
    std::string text;
  };
  std::array<Said, kMessageTopics> said_;
  std::uint64_t said_order_ = 0;
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace dw

#pragma once
// What every flow of the model shares: where its work runs, the places and the system it reads,
// the words of this home, the one status line, and the observers told of each change. One per
// model, on the model's thread.

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
  spaceRoot,
  spacePath,
  spaceSelected,
  spaceScanning,
  spaceElapsed,
  installedApps,
  uninstallTarget,
  appsNeedingAdmin,
  appsLoading
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

  // The one status line, which every flow ends with.
  const std::string& message() const { return message_; }
  void say(std::string text);

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
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace dw

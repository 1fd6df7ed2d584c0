#pragma once
// The main scan and its selection: the volume, the findings of every clean list, which of them
// are chosen, the areas as they are measured, the folders that could not be read and the Full
// Disk Access prompt they raise, and Chrome's launches and quits, which change its cache's
// finding. The scan's own work runs off the model's thread; its results come back to it.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "findings/finding.h"
#include "measure/volume_picture.h"
#include "model/flow_context.h"
#include "model/move_runner.h"

namespace dw {

// The scan's part of the model's phase: scanning (from the start, until the first scan ends),
// ready, or failed with a text. A move shows as clearing over it.
class ScanPhase {
 public:
  enum class Kind { scanning, ready, clearing, failed };
  static ScanPhase scanning() { return ScanPhase(Kind::scanning); }
  static ScanPhase ready() { return ScanPhase(Kind::ready); }
  static ScanPhase clearing() { return ScanPhase(Kind::clearing); }
  static ScanPhase failed(std::string text) { return ScanPhase(Kind::failed, std::move(text)); }
  Kind kind() const { return kind_; }
  const std::string& text() const { return text_; }
  bool operator==(const ScanPhase&) const = default;

 private:
  explicit ScanPhase(Kind kind, std::string text = {}) : kind_(kind), text_(std::move(text)) {}
  Kind kind_;
  std::string text_;
};

class ScanFlow {
 public:
  // What one main scan hands back.
  struct Result {
    VolumePicture volume;
    std::vector<Finding> findings;
    std::vector<std::string> unreadLeftoverLocations;
  };

  explicit ScanFlow(FlowContext& context);
  ~ScanFlow();
  ScanFlow(const ScanFlow&) = delete;
  ScanFlow& operator=(const ScanFlow&) = delete;

  const ScanPhase& phase() const { return phase_; }
  const std::optional<TimePoint>& lastScannedAt() const { return lastScannedAt_; }
  const std::string& volumeName() const { return volumeName_; }
  const VolumePicture& volume() const { return volume_; }
  const std::vector<Finding>& findings() const { return findings_; }
  const std::set<std::string>& selected() const { return selected_; }
  const std::optional<std::string>& scanArea() const { return scanArea_; }
  const std::vector<std::string>& unreadLeftoverLocations() const { return unread_; }
  bool showFullDiskAccessPrompt() const { return showFullDiskAccessPrompt_; }
  bool running() const { return task_.running(); }

  // Starts (or restarts) the scan; false under a test host, where nothing starts by itself.
  bool start();
  void cancel();

  void setSelected(const std::string& id, bool on);
  void toggle(const std::string& id);
  void select(std::set<std::string> ids);
  // "Select all" / "Select none" over a list: adds the removable ones among ids, or removes ids.
  void selectFindings(const std::vector<std::string>& ids, bool on);
  // The selected removable findings of a kind (of every kind when none), in list order.
  std::vector<Finding> selectedFindings(std::optional<Finding::Kind> kind) const;
  // The move of selectedFindings(kind); its end takes the moved findings off the lists.
  MoveRunner::Plan plan(std::optional<Finding::Kind> kind);
  // A move ended: the volume is read again, and the phase is ready unless a scan runs (before
  // the first scan it still says scanning).
  void moveEnded();

  // The Full Disk Access sheet closed, either way: it never comes back by itself. opener (the
  // settings button) runs after the flag is written.
  void closeFullDiskAccessPrompt(const std::function<void()>& opener);

  // The scan's work, off the model's thread. announce reports each area before it is measured.
  // Throws Cancelled.
  static Result runPipeline(const Locations& places, const platform::Workspace& workspace,
                            std::stop_token stop,
                            const std::function<void(const std::string&)>& announce);

 private:
  void areaStarted(const std::string& area, std::uint64_t generation);
  void finish(Result result, std::uint64_t generation);
  void endWithError(bool cancelled, std::uint64_t generation);
  void removeMoved(const Clearing::Outcome& outcome);
  // Launches and quits change only a scan's cache findings, so nothing watches for them until
  // the first scan: a space map or a measurement never pays for the watching.
  void watchApplications();
  void applicationEvent(const std::string& bundleID, bool launched);

  FlowContext& context_;
  ScanPhase phase_ = ScanPhase::scanning();
  std::optional<TimePoint> lastScannedAt_;
  std::string volumeName_;
  VolumePicture volume_;
  std::vector<Finding> findings_;
  std::set<std::string> selected_;
  std::optional<std::string> scanArea_;
  std::vector<std::string> unread_;
  bool showFullDiskAccessPrompt_ = false;
  bool watchingApplications_ = false;
  LatestTask task_;  // only the newest scan publishes
};

}  // namespace dw

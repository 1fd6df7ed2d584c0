#pragma once
// The one confirmation of every move to the Trash, whatever moves (the findings of a list, extra
// copies, an app with its data): the question with the list of what would move, the move with
// its progress and a stop between items, the outcome, and the offer of Recently Cleared. The
// flow that owns a list plans its move; the runner does the rest, the same way for each. The
// app's confirm sheet shows the runner's stages and the command line asks its question from them;
// neither keeps a state of its own.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "clearing/clearing.h"
#include "findings/finding.h"
#include "model/flow_context.h"
#include "texts/moves.h"

namespace dw {

// Which list a confirmation clears: a clean list's findings, the selected extra copies, or the
// Uninstaller's chosen app with its data; sharing: the selected extra copies, to share their
// kept copy's blocks instead of moving.
enum class ConfirmScope { caches, leftovers, files, duplicates, app, sharing };
// The findings' kind a scope clears; nothing for copies and apps.
std::optional<Finding::Kind> findingKind(ConfirmScope scope);
ConfirmScope scopeOf(Finding::Kind kind);
// The status line of a clean list.
MessageTopic topicOf(Finding::Kind kind);

class MoveRunner {
 public:
  // idle: no question. asking: the question is up with what would move. moving, then stopping
  // once a stop is asked for. done: the outcome is up until dismissed.
  enum class Stage { idle, asking, moving, stopping, done };
  struct Progress {
    int done = 0;
    int total = 0;
    std::string current;
    bool operator==(const Progress&) const = default;
  };
  // How a move ended, on the model's thread, once its flow has updated its own lists: what moved
  // and the status line it ends with.
  struct Ending {
    Clearing::Outcome moves;
    std::string message;
  };
  using ReportProgress = std::function<void(const Clearing::Progress&)>;
  // Moves, off the model's thread, with a stop between items; returns what finishes the move on
  // the model's thread.
  using Work = std::function<std::function<Ending()>(std::stop_token, const ReportProgress&)>;
  // One move, as the flow that owns its list plans it from what is selected now.
  struct Plan {
    // Moved to the Trash, or shared in place (the question's words follow from it).
    texts::MoveKind kind = texts::MoveKind::toTrash;
    std::vector<texts::MoveItem> items;  // what would move (or share), in order
    std::int64_t bytes = 0;              // what they take (what a share gives back)
    std::string title;                   // the question
    std::string staysLine;               // what stays as it is, and why; "" when nothing does
    // The steps the progress counts, when not one per listed item (a share re-checks the copies
    // that stay as well).
    std::optional<int> steps;
    std::string moving;   // the status line while it moves
    std::string nothing;  // the status line when nothing would move
    // Why it may not start at all, asked only when it would start.
    std::function<std::optional<std::string>()> refusal;
    Work work;
    // The page whose status line its messages are.
    MessageTopic topic = MessageTopic::scan;
  };
  using Planner = std::function<Plan()>;

  // afterMove runs on the model's thread after each move's log is written, before the runner
  // reports the move's end.
  MoveRunner(FlowContext& context, std::function<void(const Clearing::Outcome&)> afterMove);
  ~MoveRunner();
  MoveRunner(const MoveRunner&) = delete;
  MoveRunner& operator=(const MoveRunner&) = delete;

  Stage stage() const { return stage_; }
  // The question stands (asking) or its move runs.
  bool confirm() const;
  bool moving() const { return stage_ == Stage::moving || stage_ == Stage::stopping; }
  ConfirmScope scope() const { return scope_; }
  // What the question lists: while asking, what would move now; from the start of a move, what
  // it was started with.
  const std::vector<texts::MoveItem>& items() const { return plan_.items; }
  std::int64_t bytes() const { return plan_.bytes; }
  const std::string& title() const { return plan_.title; }
  texts::MoveKind kind() const { return plan_.kind; }
  const std::string& staysLine() const { return plan_.staysLine; }
  const std::optional<Progress>& progress() const { return progress_; }
  // Bytes moved since the session began (every main scan begins one).
  std::int64_t trashedBytesThisSession() const { return trashedBytes_; }
  // The last move moved something: Recently Cleared is worth a look.
  bool offerRecentlyCleared() const { return offerRecentlyCleared_; }
  // The status line the last move ended with.
  const std::string& outcome() const { return outcome_; }

  // The question: what planner plans now, kept up to date by refresh until it is answered or
  // dismissed. A scope of none (the command line's whole clear) leaves confirmScope as it is.
  void request(std::optional<ConfirmScope> scope, Planner planner);
  // While asking, plans again (the selection changed).
  void refresh();
  // The answer: moves what the question's planner plans now. Refused (the stage goes back to
  // idle) or with nothing to move (the question stays), it says why and returns false. Nothing
  // moves from, or into the Trash of, a home of another user (Ownership::refusalToMove).
  bool run();
  // Moves what planner plans now, without a question first (nothing changes when it cannot).
  bool run(Planner planner);
  // Stops a move after the item in hand.
  void stop();
  // Takes down the question (not while it moves) or the outcome.
  void dismiss();
  void beginSession();

 private:
  bool start(Plan plan, bool asked);
  void end(Ending ending);
  void setStage(Stage stage);

  FlowContext& context_;
  std::function<void(const Clearing::Outcome&)> afterMove_;
  Stage stage_ = Stage::idle;
  ConfirmScope scope_ = ConfirmScope::caches;
  MessageTopic topic_ = MessageTopic::scan;
  Planner planner_;
  Plan plan_;
  std::optional<Progress> progress_;
  std::int64_t trashedBytes_ = 0;
  bool offerRecentlyCleared_ = false;
  std::string outcome_;
  std::shared_ptr<TaskHandle> task_;
};

}  // namespace dw

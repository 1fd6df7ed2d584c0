#include "model/move_runner.h"

#include "clearing/cleared_log.h"
#include "platform/ownership.h"

namespace dw {

std::optional<Finding::Kind> findingKind(ConfirmScope scope) {
  switch (scope) {
    case ConfirmScope::caches:
      return Finding::Kind::cache;
    case ConfirmScope::leftovers:
      return Finding::Kind::leftover;
    case ConfirmScope::files:
      return Finding::Kind::file;
    case ConfirmScope::duplicates:
    case ConfirmScope::app:
    case ConfirmScope::sharing:
      return std::nullopt;
  }
  return std::nullopt;
}

ConfirmScope scopeOf(Finding::Kind kind) {
  switch (kind) {
    case Finding::Kind::cache:
      return ConfirmScope::caches;
    case Finding::Kind::leftover:
      return ConfirmScope::leftovers;
    case Finding::Kind::file:
      return ConfirmScope::files;
  }
  return ConfirmScope::caches;
}

MessageTopic topicOf(Finding::Kind kind) {
  switch (kind) {
    case Finding::Kind::cache:
      return MessageTopic::caches;
    case Finding::Kind::leftover:
      return MessageTopic::leftovers;
    case Finding::Kind::file:
      return MessageTopic::largeFiles;
  }
  return MessageTopic::caches;
}

MoveRunner::MoveRunner(FlowContext& context,
                       std::function<void(const Clearing::Outcome&)> afterMove)
    : context_(context), afterMove_(std::move(afterMove)) {}

MoveRunner::~MoveRunner() {
  if (task_) task_->cancel();
}

bool MoveRunner::confirm() const {
  return stage_ == Stage::asking || moving();
}

void MoveRunner::setStage(Stage stage) {
  bool wasConfirm = confirm();
  bool wasMoving = moving();
  stage_ = stage;
  if (wasMoving != moving()) context_.notify(ModelField::phase);
  if (wasConfirm != confirm()) context_.notify(ModelField::confirm);
  context_.notify(ModelField::moveStage);
}

void MoveRunner::request(std::optional<ConfirmScope> scope, Planner planner) {
  if (moving()) return;
  if (scope) {
    scope_ = *scope;
    context_.notify(ModelField::confirmScope);
  }
  planner_ = std::move(planner);
  plan_ = planner_();
  context_.notify(ModelField::confirmItems);
  setStage(Stage::asking);
}

void MoveRunner::refresh() {
  if (stage_ != Stage::asking || !planner_) return;
  plan_ = planner_();
  context_.notify(ModelField::confirmItems);
}

bool MoveRunner::run() {
  if (stage_ != Stage::asking || !planner_) return false;
  return start(planner_(), true);
}

bool MoveRunner::run(Planner planner) {
  if (moving()) return false;
  return start(planner(), false);
}

bool MoveRunner::start(Plan plan, bool asked) {
  // A refusal takes the question down with its reason.
  topic_ = plan.topic;
  auto refuse = [&](std::string reason) {
    if (asked) setStage(Stage::idle);
    context_.say(std::move(reason), topic_);
    return false;
  };
  if (plan.refusal) {
    if (std::optional<std::string> refused = plan.refusal()) return refuse(std::move(*refused));
  }
  if (plan.items.empty()) {
    if (!plan.nothing.empty()) context_.say(plan.nothing, topic_);
    return false;
  }
  // Nothing moves from, or into the Trash of, a home of another user: refused before anything
  // is touched.
  if (std::optional<std::string> refused = Ownership::refusalToMove(context_.places)) {
    return refuse(std::move(*refused));
  }
  // Counted before the work takes them.
  const int total = plan.steps.value_or(static_cast<int>(plan.items.size()));
  Work work = std::move(plan.work);
  std::string moving = plan.moving;
  plan_ = std::move(plan);
  context_.notify(ModelField::confirmItems);
  setStage(Stage::moving);
  context_.say(std::move(moving), topic_);
  progress_ = Progress{0, total, ""};
  context_.notify(ModelField::progress);

  task_ = context_.dispatcher.start(
      [this, work = std::move(work), post = context_.poster()](std::stop_token stop) {
        std::function<Ending()> finish = work(stop, [&](const Clearing::Progress& p) {
          post([this, p] {
            progress_ = Progress{p.done, p.total, p.current};
            context_.notify(ModelField::progress);
          });
        });
        post([this, finish = std::move(finish)] { end(finish()); });
      });
  return true;
}

void MoveRunner::end(Ending ending) {
  task_.reset();
  // The moves stand whatever happens to the log: the items are in the Trash either way.
  std::string logProblem;
  try {
    ClearedLog::append(ending.moves.entries, context_.places);
  } catch (const std::exception& e) {
    logProblem = e.what();
  }
  afterMove_(ending.moves);
  outcome_ = std::move(ending.message);
  if (!logProblem.empty()) outcome_ += texts::logProblem(logProblem);
  setStage(Stage::done);
  progress_.reset();
  context_.notify(ModelField::progress);
  trashedBytes_ = addBytes(trashedBytes_, ending.moves.movedBytes);
  context_.notify(ModelField::trashedBytesThisSession);
  // Recently Cleared is offered after a move that moved something, never for an older one.
  offerRecentlyCleared_ = !ending.moves.entries.empty();
  context_.notify(ModelField::offerRecentlyCleared);
  context_.say(outcome_, topic_);
}

void MoveRunner::stop() {
  if (stage_ != Stage::moving) return;
  task_->cancel();
  setStage(Stage::stopping);
  context_.say(std::string(texts::kStopping), topic_);
}

void MoveRunner::dismiss() {
  if (stage_ != Stage::asking && stage_ != Stage::done) return;
  planner_ = nullptr;
  setStage(Stage::idle);
}

void MoveRunner::beginSession() {
  trashedBytes_ = 0;
  context_.notify(ModelField::trashedBytesThisSession);
}

}  // namespace dw

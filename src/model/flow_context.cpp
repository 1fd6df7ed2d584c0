#include "model/flow_context.h"

#include <cstdlib>

#include "texts/scan.h"

namespace dw {

std::uint64_t LatestTask::begin() {
  cancel();
  return ++generation_;
}

FlowContext::FlowContext(Dispatcher& dispatcher_, Locations places_,
                         platform::Workspace& workspace_, platform::UserDefaults& defaults_)
    : dispatcher(dispatcher_),
      places(std::move(places_)),
      wording(texts::Wording::of(places)),
      workspace(workspace_),
      defaults(defaults_),
      message_(texts::scan::kStarting) {}

void FlowContext::addObserver(Observer observer) {
  observers_.push_back(std::move(observer));
}

void FlowContext::notify(ModelField field) const {
  for (const auto& observer : observers_)
    observer(field);
}

void FlowContext::say(std::string text) {
  message_ = std::move(text);
  notify(ModelField::message);
}

void FlowContext::Poster::operator()(std::function<void()> closure) const {
  dispatcher_->post([alive = alive_, closure = std::move(closure)] {
    if (!alive.expired()) closure();
  });
}

FlowContext::Poster FlowContext::poster() const {
  Poster p;
  p.dispatcher_ = &dispatcher;
  p.alive_ = alive_;
  return p;
}

bool FlowContext::underTestHost() {
  return std::getenv("XCTestConfigurationFilePath") != nullptr;
}

}  // namespace dw

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
      message_(texts::scan::kStarting) {
  said_[static_cast<std::size_t>(MessageTopic::scan)].text = message_;
}

void FlowContext::addObserver(Observer observer) {
  observers_.push_back(std::move(observer));
}

void FlowContext::notify(ModelField field) const {
  for (const auto& observer : observers_)
    observer(field);
}

void FlowContext::say(std::string text, MessageTopic topic) {
  Said& said = said_[static_cast<std::size_t>(topic)];
  said.order = ++said_order_;
  said.text = text;
  message_ = std::move(text);
  notify(ModelField::message);
}

const std::string& FlowContext::statusLine(MessageTopic page) const {
  const Said& own = said_[static_cast<std::size_t>(page)];
  const bool list = page == MessageTopic::caches || page == MessageTopic::leftovers ||
                    page == MessageTopic::largeFiles;
  const Said& scan = said_[static_cast<std::size_t>(MessageTopic::scan)];
  return list && scan.order > own.order ? scan.text : own.text;
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

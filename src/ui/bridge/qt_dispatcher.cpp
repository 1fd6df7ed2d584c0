#include "bridge/qt_dispatcher.h"

#include <QMetaObject>
#include <algorithm>

namespace dw::ui {

QtDispatcher::QtDispatcher() {
  // The model runs few long tasks at once (a scan, a clear, a search); each holds one thread.
  pool_.setMaxThreadCount(std::max(4, QThread::idealThreadCount()));
}

QtDispatcher::~QtDispatcher() {
  {
    std::lock_guard lock(mutex_);
    for (auto& weak : handles_) {
      if (auto handle = weak.lock()) handle->cancel();
    }
  }
  pool_.waitForDone();
}

std::shared_ptr<TaskHandle> QtDispatcher::start(Work work) {
  auto handle = std::make_shared<TaskHandle>();
  {
    std::lock_guard lock(mutex_);
    std::erase_if(handles_, [](const auto& weak) { return weak.expired(); });
    handles_.push_back(handle);
  }
  pool_.start([handle, work = std::move(work)] { work(handle->token()); });
  return handle;
}

void QtDispatcher::post(Closure closure) {
  QMetaObject::invokeMethod(&receiver_, std::move(closure), Qt::QueuedConnection);
}

}  // namespace dw::ui

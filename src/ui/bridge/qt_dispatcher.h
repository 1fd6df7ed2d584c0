#pragma once
// The app's Dispatcher: tasks on a pool of worker threads, closures posted to the GUI thread's
// event loop as queued calls.

#include <QObject>
#include <QThreadPool>
#include <memory>
#include <mutex>
#include <vector>

#include "model/dispatcher.h"

namespace dw::ui {

class QtDispatcher final : public Dispatcher {
 public:
  QtDispatcher();
  // Asks every task to stop and waits for them: no task outlives what it reads.
  ~QtDispatcher() override;

  std::shared_ptr<TaskHandle> start(Work work) override;
  void post(Closure closure) override;

 private:
  QThreadPool pool_;
  QObject receiver_;  // lives on the GUI thread; queued calls run there
  std::mutex mutex_;
  std::vector<std::weak_ptr<TaskHandle>> handles_;
};

}  // namespace dw::ui

#include "model/dispatcher.h"

namespace dw {

ThreadedDispatcher::~ThreadedDispatcher() {
  for (auto& task : tasks_)
    task.handle->cancel();
  tasks_.clear();  // joins
}

std::shared_ptr<TaskHandle> ThreadedDispatcher::start(Work work) {
  auto handle = std::make_shared<TaskHandle>();
  auto finished = std::make_shared<std::atomic<bool>>(false);
  std::lock_guard lock(mutex_);
  // Finished tasks are joined here, so threads do not pile up over a long session.
  tasks_.remove_if([](const Running& task) { return task.finished->load(); });
  tasks_.push_back(
      {handle, finished, std::jthread([work = std::move(work), token = handle->token(), finished] {
         work(token);
         finished->store(true);
       })});
  return handle;
}

void ThreadedDispatcher::post(Closure closure) {
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(std::move(closure));
  }
  ready_.notify_one();
}

void ThreadedDispatcher::runUntil(const std::function<bool()>& done) {
  while (!done()) {
    Closure next;
    {
      std::unique_lock lock(mutex_);
      ready_.wait(lock, [&] { return !queue_.empty(); });
      next = std::move(queue_.front());
      queue_.pop_front();
    }
    next();
  }
}

std::shared_ptr<TaskHandle> ManualDispatcher::start(Work work) {
  auto handle = std::make_shared<TaskHandle>();
  tasks_.push_back({handle, std::move(work)});
  return handle;
}

void ManualDispatcher::post(Closure closure) {
  posts_.push_back(std::move(closure));
}

void ManualDispatcher::runNextTask() {
  runTask(0);
}

void ManualDispatcher::runTask(size_t index) {
  Pending task = std::move(tasks_.at(index));
  tasks_.erase(tasks_.begin() + static_cast<std::ptrdiff_t>(index));
  task.work(task.handle->token());
}

void ManualDispatcher::runPosted() {
  while (!posts_.empty()) {
    Closure next = std::move(posts_.front());
    posts_.pop_front();
    next();
  }
}

void ManualDispatcher::runAll() {
  while (!tasks_.empty() || !posts_.empty()) {
    if (!tasks_.empty()) runNextTask();
    runPosted();
  }
}

}  // namespace dw

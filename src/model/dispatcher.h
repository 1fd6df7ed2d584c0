#pragma once
// How the model runs long work: a task off the model's thread, given a stop token, and closures
// posted back to the model's thread. The front ends bring their own (a run loop in the command
// line, the event loop in the app); tests step a manual one deterministically.

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace dw {

class TaskHandle {
 public:
  void cancel() { source_.request_stop(); }
  bool cancelled() const { return source_.stop_requested(); }
  std::stop_token token() const { return source_.get_token(); }

 private:
  std::stop_source source_;
};

class Dispatcher {
 public:
  using Work = std::function<void(std::stop_token)>;
  using Closure = std::function<void()>;

  virtual ~Dispatcher() = default;
  // Starts work off the model's thread; cancel the handle to ask it to stop.
  virtual std::shared_ptr<TaskHandle> start(Work work) = 0;
  // Runs the closure on the model's thread, after the closures posted before it.
  virtual void post(Closure closure) = 0;
};

// Each task on a thread of its own; posted closures wait in a queue until the model's thread
// runs them. The destructor asks every task to stop and waits for it.
class ThreadedDispatcher final : public Dispatcher {
 public:
  ThreadedDispatcher() = default;
  ~ThreadedDispatcher() override;

  std::shared_ptr<TaskHandle> start(Work work) override;
  void post(Closure closure) override;

  // On the model's thread: runs posted closures until done() holds, waiting for more as
  // needed. done is checked before each wait and after each closure, so it may change only in
  // what a posted closure does.
  void runUntil(const std::function<bool()>& done);

 private:
  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<Closure> queue_;
  struct Running {
    std::shared_ptr<TaskHandle> handle;
    std::shared_ptr<std::atomic<bool>> finished;
    std::jthread thread;
  };
  std::list<Running> tasks_;
};

// For tests: nothing runs until the test says so, in the order it says.
class ManualDispatcher final : public Dispatcher {
 public:
  std::shared_ptr<TaskHandle> start(Work work) override;
  void post(Closure closure) override;

  size_t pendingTasks() const { return tasks_.size(); }
  // Runs the oldest started task to its end on the calling thread (its posts queue up).
  void runNextTask();
  // Runs the task started index-th among those still pending.
  void runTask(size_t index);
  // Runs posted closures, including those they post, until none is left.
  void runPosted();
  // Everything: tasks and posts until both queues are empty.
  void runAll();

 private:
  struct Pending {
    std::shared_ptr<TaskHandle> handle;
    Work work;
  };
  std::deque<Pending> tasks_;
  std::deque<Closure> posts_;
};

}  // namespace dw

#pragma once
#include <atomic>
#include <exception>
#include <functional>
#include <thread>

namespace tavelin {

// One piece of work on a thread of its own, collected on the thread that
// started it: what it threw comes out of Collect there.
class BackgroundTask {
 public:
  explicit BackgroundTask(std::function<void()> work);
  // Waits for the work; a failure nobody collected is dropped.
  ~BackgroundTask();
  BackgroundTask(const BackgroundTask&) = delete;
  BackgroundTask& operator=(const BackgroundTask&) = delete;

  bool Finished() const { return finished_.load(std::memory_order_acquire); }
  // Waits for the work and rethrows what it threw.
  void Collect();

 private:
  std::exception_ptr error_;
  std::atomic<bool> finished_{false};
  std::thread thread_;
};

}  // namespace tavelin

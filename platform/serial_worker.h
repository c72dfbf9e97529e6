#pragma once
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tavelin {

// Jobs done one after another, in the order they were posted, on a thread
// of its own: for a caller that must not wait on a disk.
class SerialWorker {
 public:
  SerialWorker();
  // Does every job posted, then ends the thread.
  ~SerialWorker();
  SerialWorker(const SerialWorker&) = delete;
  SerialWorker& operator=(const SerialWorker&) = delete;

  void Post(std::function<void()> job);
  // Returns once every job posted so far is done.
  void WaitIdle();

 private:
  void Loop();

  std::mutex mutex_;
  std::condition_variable wanted_, idle_;
  std::deque<std::function<void()>> jobs_;
  bool busy_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace tavelin

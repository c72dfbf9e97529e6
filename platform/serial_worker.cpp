#include "platform/serial_worker.h"

namespace tavelin {

SerialWorker::SerialWorker() : thread_([this] { Loop(); }) {}

SerialWorker::~SerialWorker() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wanted_.notify_one();
  thread_.join();
}

void SerialWorker::Post(std::function<void()> job) {
  {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  wanted_.notify_one();
}

void SerialWorker::WaitIdle() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return jobs_.empty() && !busy_; });
}

void SerialWorker::Loop() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wanted_.wait(lock, [this] { return !jobs_.empty() || stopping_; });
    if (jobs_.empty()) return;  // stopping, and nothing left to do
    std::function<void()> job = std::move(jobs_.front());
    jobs_.pop_front();
    busy_ = true;
    lock.unlock();
    job();
    lock.lock();
    busy_ = false;
    if (jobs_.empty()) idle_.notify_all();
  }
}

}  // namespace tavelin

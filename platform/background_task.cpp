#include "platform/background_task.h"

#include <utility>

namespace tavelin {

BackgroundTask::BackgroundTask(std::function<void()> work)
    : thread_([this, work = std::move(work)] {
        try {
          work();
        } catch (...) {
          error_ = std::current_exception();
        }
        finished_.store(true, std::memory_order_release);
      }) {}

BackgroundTask::~BackgroundTask() {
  if (thread_.joinable()) thread_.join();
}

void BackgroundTask::Collect() {
  if (thread_.joinable()) thread_.join();
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

}  // namespace tavelin

#include "publishing/publisher.h"

#include <pthread.h>

#include <chrono>

#include "publishing/spool_sender.h"

namespace tavelin {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kRoundEvery = std::chrono::milliseconds(10);
constexpr auto kRetryRoundEvery = std::chrono::milliseconds(50);

int64_t NowUnixMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

Clock::duration Seconds(double seconds) {
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

Publisher::Publisher(PublishTarget target, Say say) {
  thread_ = std::thread([this, target = std::move(target), say = std::move(say)]() mutable {
    Work(std::move(target), std::move(say));
  });
}

Publisher::~Publisher() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void Publisher::Put(RowEvent event) {
  const std::lock_guard lock(mutex_);
  events_.push_back(std::move(event));
}

void Publisher::RunStarted(const JournalHead& head, double samplingMs) {
  RowEvent event;
  event.kind = RowEvent::Kind::RunStarted;
  event.unixMs = NowUnixMs();
  event.samplingMs = samplingMs;
  event.head = std::make_shared<const JournalHead>(head);
  Put(std::move(event));
  wake_.notify_one();
}

void Publisher::RowLogged(double timeMs, std::string_view values) {
  RowEvent event;
  event.timeMs = timeMs;
  event.values.assign(values);
  Put(std::move(event));  // no wake-up: the thread comes round within its step
}

void Publisher::RunEnded() {
  RowEvent event;
  event.kind = RowEvent::Kind::RunEnded;
  event.unixMs = NowUnixMs();
  Put(std::move(event));
  wake_.notify_one();
}

int64_t Publisher::Finish(double seconds, double patienceSeconds) {
  {
    const std::lock_guard lock(mutex_);
    finishing_ = true;
    finishSeconds_ = seconds;
    patienceSeconds_ = patienceSeconds;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
  return waitingRows_.load();
}

PublishStatus Publisher::Status() const {
  return {static_cast<LinkState>(state_.load(std::memory_order_relaxed)),
          waitingRows_.load(std::memory_order_relaxed)};
}

void Publisher::Work(PublishTarget target, Say say) {
  pthread_setname_np(pthread_self(), "tavelin-publish");  // as top and the benchmarks name it
  SpoolSender sender(std::move(target), std::move(say));
  sender.TakeLeftSpools();
  std::vector<RowEvent> taken;
  std::optional<Clock::time_point> finishBy;
  Clock::duration patience{};
  while (true) {
    bool stop = false;
    {
      const std::lock_guard lock(mutex_);
      taken.swap(events_);
      stop = stopping_;
      if (finishing_ && !finishBy) {
        finishBy = Clock::now() + Seconds(finishSeconds_);
        patience = Seconds(patienceSeconds_);
      }
    }
    for (RowEvent& event : taken) sender.Take(event);
    taken.clear();
    if (stop) break;
    sender.Step();
    state_.store(static_cast<int>(sender.State()), std::memory_order_relaxed);
    waitingRows_.store(sender.WaitingRows(), std::memory_order_relaxed);
    const auto now = Clock::now();
    if (finishBy && (sender.WaitingRows() == 0 || now >= *finishBy ||
                     (!sender.Connected() && now - sender.LastConnected() > patience))) {
      break;
    }
    // A round every few milliseconds takes the rows and acknowledgements
    // that came meanwhile together: a wake-up for each would cost more
    // than the row.
    std::unique_lock lock(mutex_);
    wake_.wait_for(lock, sender.Connected() ? kRoundEvery : kRetryRoundEvery,
                   [&] { return stopping_ || (finishing_ && !finishBy); });
  }
  waitingRows_.store(sender.Close());
}

}  // namespace tavelin

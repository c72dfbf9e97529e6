#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "publishing/publish_target.h"
#include "sampling/row_consumer.h"

namespace tavelin {

// Publishes every logged row, QoS 1, on a thread of its own. The engine's
// calls only queue what they hand over; the thread puts each row in the
// run's spool and sends the spools oldest first, so that a broker that is
// away only makes rows wait on disk. Spools earlier runs left are sent
// first. Messages for the user (once for each thing that goes wrong, and
// when it mends) go to `say`, from the publisher's thread.
class Publisher : public RowConsumer {
 public:
  using Say = std::function<void(const std::string&)>;

  Publisher(PublishTarget target, Say say);
  // Stops at once: what has not reached the broker stays in the spool.
  ~Publisher() override;

  void RunStarted(const JournalHead& head, double samplingMs) override;
  void RowLogged(double timeMs, std::string_view values) override;
  void RunEnded() override;

  // Sends what is spooled, for at most `seconds`, giving up sooner when the
  // broker stays away for `patienceSeconds`; then stops. The rows left in
  // the spool.
  int64_t Finish(double seconds, double patienceSeconds);
  PublishStatus Status() const;

 private:
  void Work(PublishTarget target, Say say);
  void Put(RowEvent event);

  std::mutex mutex_;
  std::condition_variable wake_;
  std::vector<RowEvent> events_;  // handed over, not yet taken: under mutex_
  bool stopping_ = false;         // under mutex_
  bool finishing_ = false;        // under mutex_
  double finishSeconds_ = 0.0;
  double patienceSeconds_ = 0.0;
  std::atomic<int> state_{static_cast<int>(LinkState::Connecting)};
  std::atomic<int64_t> waitingRows_{0};
  std::thread thread_;
};

}  // namespace tavelin

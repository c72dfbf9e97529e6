#pragma once
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "publishing/mqtt_client.h"
#include "publishing/publish_target.h"
#include "publishing/row_messages.h"
#include "publishing/spool.h"

namespace tavelin {

// The publisher's thread's side: rows become messages in the run's spool,
// and the spools go to the broker oldest first, a window of messages in
// flight, each spool's acknowledged part moving forward as the broker's
// acknowledgements come in order. A lost link starts again from the
// acknowledged part: a consumer drops the repeats by their sequence numbers.
class SpoolSender {
 public:
  using Clock = std::chrono::steady_clock;
  using Say = std::function<void(const std::string&)>;
  static constexpr std::size_t kWindow = 1000;  // messages in flight

  SpoolSender(PublishTarget target, Say say);
  ~SpoolSender();

  // Spools that earlier runs left, not held by another, go first.
  void TakeLeftSpools();
  void Take(RowEvent& event);
  // One round, without waiting: spools to disk when due, the link
  // (re)made when due, messages sent, the acknowledgements come so far read.
  void Step();
  bool Connected() const { return client_ && client_->Connected(); }
  Clock::time_point LastConnected() const { return lastConnected_; }
  int64_t WaitingRows() const;
  // The link's state and the rows waiting, in the window's words.
  LinkState State() const;
  // The end: spools written and synced; the bench said offline. The rows
  // still waiting.
  int64_t Close();

 private:
  struct Outgoing {
    std::unique_ptr<Spool> spool;
    uint64_t sent = 0;  // offset of the next message to send
    int64_t sentLines = 0;
    bool live = false;  // its run still adds to it
  };
  struct InFlight {
    Outgoing* to;
    uint64_t end;
    int64_t lines;
    int mid;
    bool acked;
  };

  void StartRun(const RowEvent& event);
  void AddRow(const RowEvent& event);
  void EndRun(const RowEvent& event);
  void Spooled(bool retain, const char* leaf, const std::string& payload);
  void WriteSpools(Clock::time_point now);
  void Connect(Clock::time_point now);
  void Send();
  void SendWhatFits();
  void Acknowledged(int mid, int reason);
  void Settle();
  void LinkLost(const std::string& why);
  uint64_t PendingBytes() const;
  void SayOnce(const std::string& what);

  PublishTarget target_;
  Say say_;
  std::list<Outgoing> spools_;
  std::deque<InFlight> inFlight_;
  std::unique_ptr<MqttClient> client_;
  // The run being spooled.
  std::shared_ptr<const JournalHead> head_;
  RunFacts run_;
  int64_t seq_ = 0;
  int64_t refused_ = 0;  // rows the full spool did not take
  std::string lastSaid_;
  Clock::duration retryAfter_ = std::chrono::milliseconds(250);
  Clock::time_point nextConnect_{};
  Clock::time_point lastConnected_ = Clock::now();
  Clock::time_point nextWrite_{};
  Clock::time_point nextSync_{};
  bool diskRefused_ = false;
  bool everConnected_ = false;
};

}  // namespace tavelin

#include "publishing/spool_sender.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace tavelin {
namespace {

constexpr auto kWriteEvery = std::chrono::milliseconds(100);
constexpr auto kSyncEvery = std::chrono::seconds(1);
constexpr auto kFirstRetry = std::chrono::milliseconds(250);
constexpr auto kLongestRetry = std::chrono::seconds(2);
constexpr int kConnectTimeoutMs = 3000;

std::string Megabytes(uint64_t bytes) {
  return std::to_string(bytes >> 20) + " MB";
}

}  // namespace

SpoolSender::SpoolSender(PublishTarget target, Say say)
    : target_(std::move(target)), say_(std::move(say)) {}

SpoolSender::~SpoolSender() = default;

void SpoolSender::TakeLeftSpools() {
  std::error_code error;
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(target_.spoolFolder, error)) {
    if (entry.path().extension() == ".spool") paths.push_back(entry.path().string());
  }
  std::sort(paths.begin(), paths.end());  // names begin with the run's start
  for (const std::string& path : paths) {
    auto spool = Spool::OpenLeft(path);
    if (!spool) continue;  // a live run's, or a drain's beside us
    if (spool->AllAcked()) {
      spool->Remove();
      continue;
    }
    Outgoing& left = spools_.emplace_back();
    left.sent = spool->Acked();
    left.sentLines = spool->AckedLines();
    left.spool = std::move(spool);
  }
}

void SpoolSender::Take(RowEvent& event) {
  switch (event.kind) {
    case RowEvent::Kind::RunStarted:
      StartRun(event);
      break;
    case RowEvent::Kind::Row:
      AddRow(event);
      break;
    case RowEvent::Kind::RunEnded:
      EndRun(event);
      break;
  }
}

void SpoolSender::StartRun(const RowEvent& event) {
  for (Outgoing& o : spools_) o.live = false;
  head_ = event.head;
  run_ = RunFacts{RunId(event.unixMs), event.unixMs, event.samplingMs, head_.get()};
  seq_ = 0;
  refused_ = 0;
  std::string why;
  auto spool =
      Spool::Create(target_.spoolFolder,
                    run_.runId + "-" + target_.bench + "-" + std::to_string(::getpid()), why);
  if (!why.empty()) {
    SayOnce("配信: 保留ファイルを作れません (" + why + ")。行はメモリーに置いて送ります (" +
            Megabytes(Spool::kMemoryLimit) + " まで)");
  }
  Outgoing& live = spools_.emplace_back();
  live.spool = std::move(spool);
  live.live = true;
  Spooled(true, "run", RunStartMessage(run_));
}

void SpoolSender::AddRow(const RowEvent& event) {
  if (!head_ || spools_.empty() || !spools_.back().live) return;
  ++seq_;  // a row the spool refuses leaves its number unused: the gap shows it
  const std::string message = RowMessage(run_, seq_, event.timeMs, event.values);
  if (PendingBytes() + message.size() > target_.spoolLimitBytes ||
      !spools_.back().spool->Append(false, target_.Topic("rows"), message)) {
    if (refused_++ == 0) {
      SayOnce("配信: 保留が上限 (" + Megabytes(target_.spoolLimitBytes) +
              ") に達しました。ここからの行はログにだけ残り、配信されません");
    }
    return;
  }
  if (refused_ > 0) {
    SayOnce("配信: 保留に空きができました。配信されなかった行は " + std::to_string(refused_) +
            " 行です");
    refused_ = 0;
  }
}

void SpoolSender::EndRun(const RowEvent& event) {
  if (!head_ || spools_.empty() || !spools_.back().live) return;
  Spooled(true, "run", RunEndMessage(run_, seq_, event.unixMs));
  spools_.back().live = false;
}

void SpoolSender::Spooled(bool retain, const char* leaf, const std::string& payload) {
  spools_.back().spool->Append(retain, target_.Topic(leaf), payload);
}

void SpoolSender::Step() {
  const auto now = Clock::now();
  WriteSpools(now);
  if (!Connected() && now >= nextConnect_) Connect(now);
  if (!Connected()) return;
  Send();
  if (Connected() && !client_->Loop(0)) {
    LinkLost(client_->LostReason());
    return;
  }
  Settle();
  lastConnected_ = Clock::now();
}

void SpoolSender::WriteSpools(Clock::time_point now) {
  if (now < nextWrite_) return;
  nextWrite_ = now + kWriteEvery;
  std::string refusal;
  for (Outgoing& o : spools_) {
    if (const std::string why = o.spool->Write(); !why.empty()) refusal = why;
  }
  if (!refusal.empty() && !diskRefused_) {
    SayOnce("配信: 保留ファイルに書けません (" + refusal + ")。行はメモリーに置いて送ります (" +
            Megabytes(Spool::kMemoryLimit) + " まで)");
  }
  diskRefused_ = !refusal.empty();
  if (now < nextSync_) return;
  nextSync_ = now + kSyncEvery;
  for (Outgoing& o : spools_) {
    o.spool->Sync();
    o.spool->SaveAcked();
  }
}

void SpoolSender::Connect(Clock::time_point now) {
  MqttOptions options;
  options.address = target_.address;
  options.clientId = "tavelin-" + target_.bench + "-" + std::to_string(::getpid());
  options.password = target_.password;
  options.caFile = target_.caFile;
  options.version = target_.version;
  options.willTopic = target_.Topic("state");
  options.willPayload = "offline";
  client_ = std::make_unique<MqttClient>(options);
  client_->onAck = [this](int mid, int reason) { Acknowledged(mid, reason); };
  const std::string why = client_->Connect(kConnectTimeoutMs);
  if (!why.empty()) {
    client_.reset();
    SayOnce("配信: " + why + "。つながるまで行は保留します");
    nextConnect_ = now + retryAfter_;
    retryAfter_ = std::min<Clock::duration>(retryAfter_ * 2, kLongestRetry);
    return;
  }
  retryAfter_ = kFirstRetry;
  everConnected_ = true;
  client_->Publish(target_.Topic("state"), "online", true);
  const int64_t waiting = WaitingRows();
  SayOnce("配信: " + target_.address.host + ":" + std::to_string(target_.address.port) +
          " につながりました" +
          (waiting > 0 ? "。保留の " + std::to_string(waiting) + " 行を送ります" : ""));
}

void SpoolSender::Send() {
  client_->Cork(true);
  SendWhatFits();
  if (client_) client_->Cork(false);
}

void SpoolSender::SendWhatFits() {
  for (Outgoing& o : spools_) {
    SpooledMessage message;
    while (inFlight_.size() < kWindow && o.spool->Read(o.sent, message)) {
      const auto mid = client_->Publish(message.topic, message.payload, message.retain);
      if (!mid) {
        LinkLost(client_->LostReason());
        return;
      }
      o.sent = message.next;
      ++o.sentLines;
      inFlight_.push_back({&o, o.sent, o.sentLines, *mid, false});
    }
    // A run's messages go in order, and a live spool is the last.
    if (inFlight_.size() >= kWindow || o.live) return;
  }
}

void SpoolSender::Acknowledged(int mid, int reason) {
  const auto found = std::find_if(inFlight_.begin(), inFlight_.end(),
                                  [mid](const InFlight& f) { return f.mid == mid; });
  if (found == inFlight_.end()) return;  // the bench's "online"
  found->acked = true;
  if (reason >= 0x80)
    SayOnce("配信: ブローカーが行を受け取りませんでした (理由コード " + std::to_string(reason) +
            ")");
}

void SpoolSender::Settle() {
  while (!inFlight_.empty() && inFlight_.front().acked) {
    const InFlight& f = inFlight_.front();
    f.to->spool->Acknowledge(f.end, f.lines);
    inFlight_.pop_front();
  }
  // A spool whose run has ended and whose every line the broker has goes.
  while (!spools_.empty() && !spools_.front().live && spools_.front().spool->AllAcked() &&
         (inFlight_.empty() || inFlight_.front().to != &spools_.front())) {
    spools_.front().spool->Remove();
    spools_.pop_front();
  }
}

void SpoolSender::LinkLost(const std::string& why) {
  Settle();
  SayOnce("配信: 接続が切れました (" + why + ")。つながるまで行は保留します");
  inFlight_.clear();
  for (Outgoing& o : spools_) {
    o.sent = o.spool->Acked();
    o.sentLines = o.spool->AckedLines();
  }
  client_.reset();
  nextConnect_ = Clock::now() + retryAfter_;
}

uint64_t SpoolSender::PendingBytes() const {
  uint64_t bytes = 0;
  for (const Outgoing& o : spools_) bytes += o.spool->End() - o.spool->Acked();
  return bytes;
}

int64_t SpoolSender::WaitingRows() const {
  int64_t rows = 0;
  for (const Outgoing& o : spools_) rows += o.spool->Lines() - o.spool->AckedLines();
  return rows;
}

LinkState SpoolSender::State() const {
  if (Connected()) return LinkState::Sending;
  return everConnected_ ? LinkState::Waiting : LinkState::Connecting;
}

void SpoolSender::SayOnce(const std::string& what) {
  if (what == lastSaid_) return;
  lastSaid_ = what;
  if (say_) say_(what);
}

int64_t SpoolSender::Close() {
  if (Connected()) {
    Settle();
    client_->Publish(target_.Topic("state"), "offline", true);
    client_->Disconnect();
  }
  client_.reset();
  inFlight_.clear();
  nextWrite_ = nextSync_ = {};
  WriteSpools(Clock::now());
  for (Outgoing& o : spools_) {
    if (!o.live && o.spool->AllAcked()) o.spool->Remove();
  }
  const int64_t waiting = WaitingRows();
  spools_.clear();
  return waiting;
}

}  // namespace tavelin

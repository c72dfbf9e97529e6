#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "logging/journal_format.h"
#include "publishing/publish_settings.h"

namespace tavelin {

// What a publisher needs, checked: the broker, the bench, the password.
struct PublishTarget {
  BrokerAddress address;
  std::string bench;
  std::string caFile;
  std::optional<std::string> password;
  int version = 4;
  uint64_t spoolLimitBytes = 1024ull << 20;
  std::string spoolFolder;

  std::string Topic(const char* leaf) const { return address.prefix + "/" + bench + "/" + leaf; }
};

// The target the settings name, or none with the reason in `why`.
std::optional<PublishTarget> TargetOf(const PublishSettings& settings, std::string& why);

enum class LinkState { Connecting, Sending, Waiting };

struct PublishStatus {
  LinkState state = LinkState::Connecting;
  int64_t waitingRows = 0;  // spooled, not yet acknowledged
};

// What the engine hands over, in its order.
struct RowEvent {
  enum class Kind { RunStarted, Row, RunEnded } kind = Kind::Row;
  double timeMs = 0.0;  // a row's time since the run's start
  std::string values;   // a row's packed values
  int64_t unixMs = 0;   // a start's or an end's wall clock
  double samplingMs = 0.0;
  std::shared_ptr<const JournalHead> head;  // a start's
};

}  // namespace tavelin

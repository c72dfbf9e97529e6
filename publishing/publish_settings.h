#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavelin {

// Where rows go: mqtt://[USER@]HOST[:PORT]/PREFIX, or mqtts:// for TLS.
struct BrokerAddress {
  bool tls = false;
  std::string user;
  std::string host;
  int port = 1883;
  std::string prefix;  // topics are PREFIX/BENCH/...
};

// The address a URL names; none, with the reason in `why`, for one that
// names none.
std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& why);

// A bench name is one topic level: no '/', '+', '#', no control characters.
bool BenchNameUsable(std::string_view bench);

// The publishing settings of this user, in publish.conf: one "key = value"
// a line, '#' starts a comment. The password is never kept here: a file
// holds it, or the environment (TAVELIN_MQTT_PASSWORD).
struct PublishSettings {
  bool enabled = false;
  std::string url;
  std::string bench;
  std::string caFile;        // mqtts: the certificates to trust; empty: the system's
  std::string passwordFile;  // its first line is the password
  int mqttVersion = 4;       // 4: MQTT 3.1.1, 5: MQTT 5
  int64_t spoolLimitMb = 1024;

  bool operator==(const PublishSettings&) const = default;
};

inline constexpr const char* kPasswordVariable = "TAVELIN_MQTT_PASSWORD";

// $XDG_CONFIG_HOME/tavelin/publish.conf; empty without a home.
std::string PublishSettingsPath();
// What the file says; a missing or unreadable file, or a line that makes
// no sense, leaves the defaults where it stands.
PublishSettings ReadPublishSettings(const std::string& path);
// Written whole or not at all, its folder made first. Throws FileError.
void WritePublishSettings(const std::string& path, const PublishSettings& settings);

// Why these settings cannot publish, or none when they can.
std::optional<std::string> PublishSettingsProblem(const PublishSettings& settings);

// The password: the password file's first line, else the environment's;
// none when neither gives one. `why` tells of a file that cannot be read.
std::optional<std::string> PublishPassword(const PublishSettings& settings, std::string& why);

}  // namespace tavelin

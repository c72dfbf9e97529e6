#include "publishing/publish_settings.h"

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/file_system.h"
#include "platform/special_folders.h"

namespace tavelin {
namespace {

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}

template <typename Number>
std::optional<Number> NumberOf(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

bool HasControl(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return true;
  }
  return false;
}

bool TopicUsable(std::string_view topic) {
  return !topic.empty() && topic.find_first_of("+#") == std::string_view::npos &&
         !HasControl(topic);
}

}  // namespace

std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& why) {
  BrokerAddress address;
  if (url.starts_with("mqtts://")) {
    address.tls = true;
    address.port = 8883;
    url.remove_prefix(8);
  } else if (url.starts_with("mqtt://")) {
    url.remove_prefix(7);
  } else {
    why = "ブローカーの URL は mqtt:// か mqtts:// で始めます";
    return std::nullopt;
  }
  const auto slash = url.find('/');
  std::string_view authority = url.substr(0, slash);
  std::string_view prefix = slash == std::string_view::npos ? "" : url.substr(slash + 1);
  while (prefix.ends_with('/')) prefix.remove_suffix(1);
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    address.user = std::string(authority.substr(0, at));
    authority.remove_prefix(at + 1);
    if (address.user.empty() || address.user.find(':') != std::string::npos) {
      why = "URL に書けるのは利用者名だけです (パスワードはファイルか環境変数 " +
            std::string(kPasswordVariable) + " で渡します)";
      return std::nullopt;
    }
  }
  if (const auto colon = authority.rfind(':');
      colon != std::string_view::npos && authority.find(']') == std::string_view::npos) {
    const auto port = NumberOf<int>(authority.substr(colon + 1));
    if (!port || *port < 1 || *port > 65535) {
      why = "ポート番号は 1 から 65535 の数です";
      return std::nullopt;
    }
    address.port = *port;
    authority = authority.substr(0, colon);
  }
  if (authority.empty() || HasControl(authority)) {
    why = "URL にブローカーのホスト名がありません";
    return std::nullopt;
  }
  if (!TopicUsable(prefix)) {
    why = "URL のホスト名の後に、トピックの接頭辞を書きます (例: mqtt://broker/lab)";
    return std::nullopt;
  }
  address.host = std::string(authority);
  address.prefix = std::string(prefix);
  return address;
}

bool BenchNameUsable(std::string_view bench) {
  return TopicUsable(bench) && bench.find('/') == std::string_view::npos && bench.size() <= 64;
}

std::string PublishSettingsPath() {
  const std::string folder = ConfigFolder();
  return folder.empty() ? folder : folder + "/publish.conf";
}

PublishSettings ReadPublishSettings(const std::string& path) {
  PublishSettings settings;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    const std::string_view text = Trimmed(line);
    const auto equals = text.find('=');
    if (text.empty() || text.front() == '#' || equals == std::string_view::npos) continue;
    const std::string_view key = Trimmed(text.substr(0, equals));
    const std::string value(Trimmed(text.substr(equals + 1)));
    if (key == "enabled") {
      settings.enabled = value == "1" || value == "yes" || value == "true";
    } else if (key == "url") {
      settings.url = value;
    } else if (key == "bench") {
      settings.bench = value;
    } else if (key == "ca_file") {
      settings.caFile = value;
    } else if (key == "password_file") {
      settings.passwordFile = value;
    } else if (key == "mqtt_version") {
      if (value == "5") settings.mqttVersion = 5;
      if (value == "3.1.1") settings.mqttVersion = 4;
    } else if (key == "spool_mb") {
      const auto mb = NumberOf<int64_t>(value);
      if (mb && *mb >= 1 && *mb <= 1024 * 1024) settings.spoolLimitMb = *mb;
    }
  }
  return settings;
}

void WritePublishSettings(const std::string& path, const PublishSettings& settings) {
  std::string text = "# Tavelin: publishing every logged row to an MQTT broker\n";
  const auto line = [&text](const char* key, const std::string& value) {
    text += key;
    text += " = ";
    text += value;
    text += '\n';
  };
  line("enabled", settings.enabled ? "1" : "0");
  line("url", settings.url);
  line("bench", settings.bench);
  line("ca_file", settings.caFile);
  line("password_file", settings.passwordFile);
  line("mqtt_version", settings.mqttVersion == 5 ? "5" : "3.1.1");
  line("spool_mb", std::to_string(settings.spoolLimitMb));
  if (path.empty()) throw FileError("ホームフォルダーがありません");
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  TextStream out = CreateTextFile(path);
  out.Write(text);
  out.Close();
}

std::optional<std::string> PublishSettingsProblem(const PublishSettings& settings) {
  std::string why;
  if (!ParseBrokerUrl(settings.url, why)) return why;
  if (!BenchNameUsable(settings.bench)) {
    return "ベンチ名は 64 文字までで、/ + # と制御文字を含まない名前です";
  }
  for (const std::string& value : {settings.caFile, settings.passwordFile}) {
    if (HasControl(value)) return "ファイル名に制御文字があります";
  }
  return std::nullopt;
}

std::optional<std::string> PublishPassword(const PublishSettings& settings, std::string& why) {
  if (!settings.passwordFile.empty()) {
    std::ifstream in(settings.passwordFile);
    std::string password;
    if (!in || !std::getline(in, password)) {
      why = "パスワードのファイルを読めません: " + settings.passwordFile;
      return std::nullopt;
    }
    if (!password.empty() && password.back() == '\r') password.pop_back();
    return password;
  }
  if (const char* password = std::getenv(kPasswordVariable); password != nullptr) {
    return std::string(password);
  }
  return std::nullopt;
}

}  // namespace tavelin

#include "publishing/mqtt_client.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "publishing/mosquitto_library.h"

namespace tavelin {
namespace {

constexpr int kKeepAliveSeconds = 30;

std::string Where(const BrokerAddress& address) {
  return address.host + ":" + std::to_string(address.port);
}

// The network's refusals the user meets most, in the window's language.
std::string SystemErrorText(int error) {
  switch (error) {
    case ECONNREFUSED:
      return "接続を拒否されました (ブローカーが動いていないか、ポートが違います)";
    case EHOSTUNREACH:
    case ENETUNREACH:
      return "ホストに届きません";
    case ETIMEDOUT:
      return "応答がなく時間切れになりました";
    case ECONNRESET:
      return "接続が切られました";
    default:
      return std::strerror(error);
  }
}

// A libmosquitto error in the user's words.
std::string ErrorText(const MosquittoFunctions& api, int error) {
  switch (error) {
    case MOSQ_ERR_ERRNO:
      return SystemErrorText(errno);
    case MOSQ_ERR_TLS:
      return "TLS の接続か証明書の検証に失敗しました (信頼する証明書は --ca で渡せます)";
    case MOSQ_ERR_EAI:
      return "ホスト名が見つかりません";
    case MOSQ_ERR_NO_CONN:
    case MOSQ_ERR_CONN_LOST:
      return "接続が切れました";
    default:
      return api.mosquitto_strerror(error);
  }
}

}  // namespace

MqttClient::MqttClient(const MqttOptions& options) : options_(options) {
  api_ = Mosquitto(unavailable_);
  if (api_ == nullptr) return;
  mosq_ = api_->mosquitto_new(options.clientId.c_str(), true, this);
  if (mosq_ == nullptr) return;
  api_->mosquitto_int_option(mosq_, MOSQ_OPT_PROTOCOL_VERSION,
                             options.version == 5 ? MQTT_PROTOCOL_V5 : MQTT_PROTOCOL_V311);
  api_->mosquitto_connect_callback_set(mosq_, &MqttClient::OnConnect);
  api_->mosquitto_disconnect_callback_set(mosq_, &MqttClient::OnDisconnect);
  api_->mosquitto_publish_v5_callback_set(mosq_, &MqttClient::OnPublish);
  // The sender keeps its own window of messages in flight.
  api_->mosquitto_max_inflight_messages_set(mosq_, 0);
  if (!options.address.user.empty()) {
    api_->mosquitto_username_pw_set(mosq_, options.address.user.c_str(),
                                    options.password ? options.password->c_str() : nullptr);
  }
  if (!options.willTopic.empty()) {
    api_->mosquitto_will_set(mosq_, options.willTopic.c_str(),
                             static_cast<int>(options.willPayload.size()),
                             options.willPayload.data(), 1, true);
  }
  if (options.address.tls) {
    const bool ownCa = !options.caFile.empty();
    api_->mosquitto_tls_set(mosq_, ownCa ? options.caFile.c_str() : nullptr,
                            ownCa ? nullptr : "/etc/ssl/certs", nullptr, nullptr, nullptr);
  }
}

MqttClient::~MqttClient() {
  if (mosq_ != nullptr) api_->mosquitto_destroy(mosq_);
}

std::string MqttClient::Connect(int timeoutMs) {
  const std::string where = Where(options_.address);
  if (api_ == nullptr) return where + " につながりません: " + unavailable_;
  if (mosq_ == nullptr) return where + ": " + std::strerror(ENOMEM);
  const int started = api_->mosquitto_connect(mosq_, options_.address.host.c_str(),
                                              options_.address.port, kKeepAliveSeconds);
  if (started != MOSQ_ERR_SUCCESS) return where + " につながりません: " + ErrorText(*api_, started);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  answered_ = false;
  while (!answered_ && std::chrono::steady_clock::now() < deadline) {
    const int looped = api_->mosquitto_loop(mosq_, 50, 1);
    if (looped != MOSQ_ERR_SUCCESS && !answered_) {
      return where + " につながりません: " + ErrorText(*api_, looped);
    }
  }
  if (!answered_) return where + " が答えません";
  if (refusal_ != 0) {
    api_->mosquitto_disconnect(mosq_);
    return where + " が接続を断りました: " +
           (options_.version == 5 ? api_->mosquitto_reason_string(refusal_)
                                  : api_->mosquitto_connack_string(refusal_));
  }
  connected_ = true;
  return {};
}

std::optional<int> MqttClient::Publish(std::string_view topic, std::string_view payload,
                                       bool retain) {
  if (!connected_) return std::nullopt;
  int mid = 0;
  const std::string topicText(topic);
  const int published = api_->mosquitto_publish(
      mosq_, &mid, topicText.c_str(), static_cast<int>(payload.size()), payload.data(), 1, retain);
  if (published != MOSQ_ERR_SUCCESS) {
    connected_ = false;
    lost_ = ErrorText(*api_, published);
    return std::nullopt;
  }
  return mid;
}

void MqttClient::Cork(bool on) {
  const int socket = api_->mosquitto_socket(mosq_);
  const int value = on ? 1 : 0;
  if (socket >= 0) setsockopt(socket, IPPROTO_TCP, TCP_CORK, &value, sizeof value);
}

bool MqttClient::Loop(int timeoutMs) {
  if (!connected_) return false;
  const int looped = api_->mosquitto_loop(mosq_, timeoutMs, 1);
  if (looped != MOSQ_ERR_SUCCESS) {
    connected_ = false;
    if (lost_.empty()) lost_ = ErrorText(*api_, looped);
  }
  return connected_;
}

void MqttClient::Disconnect() {
  if (!connected_) return;
  api_->mosquitto_disconnect(mosq_);
  api_->mosquitto_loop(mosq_, 100, 1);
  connected_ = false;
}

void MqttClient::OnConnect(mosquitto*, void* self, int rc) {
  auto* client = static_cast<MqttClient*>(self);
  client->answered_ = true;
  client->refusal_ = rc;
}

void MqttClient::OnDisconnect(mosquitto*, void* self, int rc) {
  auto* client = static_cast<MqttClient*>(self);
  client->connected_ = false;
  if (rc != 0 && client->lost_.empty()) client->lost_ = "ブローカーが接続を切りました";
}

void MqttClient::OnPublish(mosquitto*, void* self, int mid, int reason, const mqtt5__property*) {
  auto* client = static_cast<MqttClient*>(self);
  if (client->onAck) client->onAck(mid, reason);
}

}  // namespace tavelin

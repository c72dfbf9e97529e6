#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "publishing/publish_settings.h"

struct mosquitto;
struct mqtt5__property;

namespace tavelin {

struct MosquittoFunctions;

// What a connection to the broker needs.
struct MqttOptions {
  BrokerAddress address;
  std::string clientId;
  std::optional<std::string> password;
  std::string caFile;  // mqtts: empty trusts the system's certificates
  int version = 4;     // 4: MQTT 3.1.1, 5: MQTT 5
  std::string willTopic;
  std::string willPayload;
};

// One connection to the broker through libmosquitto, driven by the thread
// that owns it: nothing here starts a thread of its own. Messages go out
// with QoS 1; the broker's acknowledgements come back through onAck while
// Loop runs.
class MqttClient {
 public:
  explicit MqttClient(const MqttOptions& options);
  ~MqttClient();
  MqttClient(const MqttClient&) = delete;
  MqttClient& operator=(const MqttClient&) = delete;

  // Connects and waits at most `timeoutMs` for the broker's answer: empty
  // when it took us, else why not, in the user's words.
  std::string Connect(int timeoutMs);
  bool Connected() const { return connected_; }
  // The message's id, or none when the link is gone.
  std::optional<int> Publish(std::string_view topic, std::string_view payload, bool retain);
  // While corked, messages gather in the socket and leave together when it
  // is uncorked: one transmission for a round's rows, not one a row.
  void Cork(bool on);
  // Sends and reads for at most `timeoutMs`; false, with LostReason(),
  // once the link is gone.
  bool Loop(int timeoutMs);
  const std::string& LostReason() const { return lost_; }
  // A polite goodbye: the broker keeps the last will to itself.
  void Disconnect();

  // An acknowledged message: its id, and the broker's reason code (0: taken).
  std::function<void(int mid, int reason)> onAck;

 private:
  static void OnConnect(mosquitto*, void* self, int rc);
  static void OnDisconnect(mosquitto*, void* self, int rc);
  static void OnPublish(mosquitto*, void* self, int mid, int reason, const mqtt5__property*);

  const MosquittoFunctions* api_ = nullptr;
  std::string unavailable_;  // why the library could not be opened
  mosquitto* mosq_ = nullptr;
  MqttOptions options_;
  bool connected_ = false;
  bool answered_ = false;
  int refusal_ = 0;
  std::string lost_;
};

}  // namespace tavelin

#pragma once
#include <mosquitto.h>

#include <string>

namespace tavelin {

// libmosquitto's functions as the client calls them. The library is opened
// when a publisher first connects, not with the program: with libssl and
// libcrypto it cost every start 2 ms, and most benches never publish.
struct MosquittoFunctions {
  decltype(&::mosquitto_lib_init) mosquitto_lib_init = nullptr;
  decltype(&::mosquitto_new) mosquitto_new = nullptr;
  decltype(&::mosquitto_destroy) mosquitto_destroy = nullptr;
  decltype(&::mosquitto_int_option) mosquitto_int_option = nullptr;
  decltype(&::mosquitto_connect_callback_set) mosquitto_connect_callback_set = nullptr;
  decltype(&::mosquitto_disconnect_callback_set) mosquitto_disconnect_callback_set = nullptr;
  decltype(&::mosquitto_publish_v5_callback_set) mosquitto_publish_v5_callback_set = nullptr;
  decltype(&::mosquitto_max_inflight_messages_set) mosquitto_max_inflight_messages_set = nullptr;
  decltype(&::mosquitto_username_pw_set) mosquitto_username_pw_set = nullptr;
  decltype(&::mosquitto_will_set) mosquitto_will_set = nullptr;
  decltype(&::mosquitto_tls_set) mosquitto_tls_set = nullptr;
  decltype(&::mosquitto_connect) mosquitto_connect = nullptr;
  decltype(&::mosquitto_loop) mosquitto_loop = nullptr;
  decltype(&::mosquitto_disconnect) mosquitto_disconnect = nullptr;
  decltype(&::mosquitto_publish) mosquitto_publish = nullptr;
  decltype(&::mosquitto_socket) mosquitto_socket = nullptr;
  decltype(&::mosquitto_strerror) mosquitto_strerror = nullptr;
  decltype(&::mosquitto_connack_string) mosquitto_connack_string = nullptr;
  decltype(&::mosquitto_reason_string) mosquitto_reason_string = nullptr;
};

// The functions, the library opened and initialised at the first call; null
// with `why` set when it cannot be opened.
const MosquittoFunctions* Mosquitto(std::string& why);

}  // namespace tavelin

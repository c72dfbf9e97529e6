#include "publishing/mosquitto_library.h"

#include <optional>

#include "devices/device_libraries.h"

namespace tavelin {
namespace {

LoadedLibrary<MosquittoFunctions> OpenMosquitto() {
  LoadedLibrary<MosquittoFunctions> loaded{SharedLibrary::Open("libmosquitto.so.1"), {}};
  const SharedLibrary& library = loaded.library;
  MosquittoFunctions& api = loaded.api;
  library.Resolve(api.mosquitto_lib_init, "mosquitto_lib_init");
  library.Resolve(api.mosquitto_new, "mosquitto_new");
  library.Resolve(api.mosquitto_destroy, "mosquitto_destroy");
  library.Resolve(api.mosquitto_int_option, "mosquitto_int_option");
  library.Resolve(api.mosquitto_connect_callback_set, "mosquitto_connect_callback_set");
  library.Resolve(api.mosquitto_disconnect_callback_set, "mosquitto_disconnect_callback_set");
  library.Resolve(api.mosquitto_publish_v5_callback_set, "mosquitto_publish_v5_callback_set");
  library.Resolve(api.mosquitto_max_inflight_messages_set, "mosquitto_max_inflight_messages_set");
  library.Resolve(api.mosquitto_username_pw_set, "mosquitto_username_pw_set");
  library.Resolve(api.mosquitto_will_set, "mosquitto_will_set");
  library.Resolve(api.mosquitto_tls_set, "mosquitto_tls_set");
  library.Resolve(api.mosquitto_connect, "mosquitto_connect");
  library.Resolve(api.mosquitto_loop, "mosquitto_loop");
  library.Resolve(api.mosquitto_disconnect, "mosquitto_disconnect");
  library.Resolve(api.mosquitto_publish, "mosquitto_publish");
  library.Resolve(api.mosquitto_socket, "mosquitto_socket");
  library.Resolve(api.mosquitto_strerror, "mosquitto_strerror");
  library.Resolve(api.mosquitto_connack_string, "mosquitto_connack_string");
  library.Resolve(api.mosquitto_reason_string, "mosquitto_reason_string");
  api.mosquitto_lib_init();
  return loaded;
}

}  // namespace

const MosquittoFunctions* Mosquitto(std::string& why) {
  static std::string failure;
  // Kept open for the program's life: its threads may still be in it.
  static const std::optional<LoadedLibrary<MosquittoFunctions>> loaded =
      []() -> std::optional<LoadedLibrary<MosquittoFunctions>> {
    try {
      return OpenMosquitto();
    } catch (const LibraryError& error) {
      failure = std::string("libmosquitto を開けません: ") + error.what();
      return std::nullopt;
    }
  }();
  if (!loaded) {
    why = failure;
    return nullptr;
  }
  return &loaded->api;
}

}  // namespace tavelin

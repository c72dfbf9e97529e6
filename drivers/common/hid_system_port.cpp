// The port of a real machine: hidapi's hidraw backend, loaded at run time
// so that the libraries work without it (on simulated devices), and our own
// read-only descriptor of each hidraw node for input reports, so that one
// poll waits on every device at once.
#include <dlfcn.h>
#include <fcntl.h>
#include <hidapi/hidapi.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>

#include "hid_port.h"

namespace kvr {
namespace {

constexpr const char* kHidapiLibrary = "libhidapi-hidraw.so.0";
constexpr const char* kPortVariable = "KVR_HID_PORT";

struct Hidapi {
  decltype(&hid_init) init = nullptr;
  decltype(&hid_enumerate) enumerate = nullptr;
  decltype(&hid_free_enumeration) free_enumeration = nullptr;
  decltype(&hid_open_path) open_path = nullptr;
  decltype(&hid_close) close = nullptr;
  decltype(&hid_get_feature_report) get_feature_report = nullptr;
  decltype(&hid_send_feature_report) send_feature_report = nullptr;
};
Hidapi g_hidapi;

struct Device {
  hid_device* handle;
  int input;  // our own descriptor of the node, non-blocking
};

int Enumerate(KvrHidEach each, void* context) {
  hid_device_info* all = g_hidapi.enumerate(0, 0);
  for (const hid_device_info* d = all; d != nullptr; d = d->next) {
    const KvrHidDeviceInfo info{d->path, d->usage_page, d->usage, d->vendor_id, d->product_id};
    each(context, &info);
  }
  g_hidapi.free_enumeration(all);
  return 0;
}

void* Open(const char* path) {
  hid_device* handle = g_hidapi.open_path(path);
  if (handle == nullptr) return nullptr;
  const int input = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (input < 0) {
    g_hidapi.close(handle);
    return nullptr;
  }
  return new Device{handle, input};
}

void Close(void* device) {
  auto* d = static_cast<Device*>(device);
  ::close(d->input);
  g_hidapi.close(d->handle);
  delete d;
}

int GetFeature(void* device, unsigned char* data, size_t length) {
  return g_hidapi.get_feature_report(static_cast<Device*>(device)->handle, data, length);
}

int SendFeature(void* device, const unsigned char* data, size_t length) {
  return g_hidapi.send_feature_report(static_cast<Device*>(device)->handle, data, length);
}

int InputFd(void* device) {
  return static_cast<Device*>(device)->input;
}

int ReadInput(void* device, unsigned char* data, size_t length) {
  for (;;) {
    const ssize_t n = ::read(static_cast<Device*>(device)->input, data, length);
    if (n > 0) return static_cast<int>(n);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return 0;
    return -1;  // unplugged: hidraw says so with an error or an end
  }
}

const KvrHidPort kHidapiPort{kKvrHidPortVersion, "hid",       Enumerate, Open,     Close,
                             GetFeature,         SendFeature, InputFd,   ReadInput};

template <typename Function>
bool Resolve(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

// Loading fails with a reason, said once by whoever asks to say it.
std::string g_problem;

const KvrHidPort* LoadHidapi() {
  void* library = dlopen(kHidapiLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    g_problem = std::string("real USB devices need hidapi (") + kHidapiLibrary +
                ", Debian's libhidapi-hidraw0); only simulated devices can be used";
    return nullptr;
  }
  Hidapi& h = g_hidapi;
  if (!Resolve(library, "hid_init", h.init) || !Resolve(library, "hid_enumerate", h.enumerate) ||
      !Resolve(library, "hid_free_enumeration", h.free_enumeration) ||
      !Resolve(library, "hid_open_path", h.open_path) || !Resolve(library, "hid_close", h.close) ||
      !Resolve(library, "hid_get_feature_report", h.get_feature_report) ||
      !Resolve(library, "hid_send_feature_report", h.send_feature_report) || h.init() != 0) {
    g_problem = std::string(kHidapiLibrary) + " cannot be used; only simulated devices can be used";
    return nullptr;
  }
  return &kHidapiPort;
}

const KvrHidPort* LoadNamedPort(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  const auto entry = library != nullptr
                         ? reinterpret_cast<KvrHidPortEntry>(dlsym(library, "kvr_hid_port"))
                         : nullptr;
  const KvrHidPort* port = entry != nullptr ? entry() : nullptr;
  if (port == nullptr || port->version != kKvrHidPortVersion) {
    g_problem = std::string(kPortVariable) + "=" + path + " is no HID port of version " +
                std::to_string(kKvrHidPortVersion);
    return nullptr;
  }
  return port;
}

}  // namespace

const KvrHidPort* SystemHidPort(bool sayProblem) {
  static std::once_flag once;
  static const KvrHidPort* port = nullptr;
  static std::once_flag said;
  std::call_once(once, [] {
    const char* named = std::getenv(kPortVariable);
    port = named != nullptr && named[0] != '\0' ? LoadNamedPort(named) : LoadHidapi();
  });
  if (port == nullptr && sayProblem) {
    std::call_once(said, [] { std::cerr << "kvr: " << g_problem << "\n"; });
  }
  return port;
}

}  // namespace kvr

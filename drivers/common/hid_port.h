#pragma once
// What the HID backend needs of the system, as a small C interface: the
// built-in one over hidapi and hidraw, or another one in a library named
// by KVR_HID_PORT (the test suite's fake devices). A port library exports
//   const KvrHidPort* kvr_hid_port(void);
#include <cstddef>

extern "C" {

constexpr int kKvrHidPortVersion = 1;

struct KvrHidDeviceInfo {
  const char* path;
  unsigned short usage_page;
  unsigned short usage;
  unsigned short vendor_id;
  unsigned short product_id;
};

using KvrHidEach = void (*)(void* context, const KvrHidDeviceInfo* device);

struct KvrHidPort {
  int version;       // kKvrHidPortVersion
  const char* name;  // as `tavelin-cli devices` shows it
  // Calls `each` for every HID interface plugged in; -1 when it can't look.
  int (*enumerate)(KvrHidEach each, void* context);
  // A device opened for features and input, or null.
  void* (*open)(const char* path);
  void (*close)(void* device);
  // Feature reports with their id in data[0]: bytes moved, or -1.
  int (*get_feature)(void* device, unsigned char* data, size_t length);
  int (*send_feature)(void* device, const unsigned char* data, size_t length);
  // Readable (poll) when an input report is queued.
  int (*input_fd)(void* device);
  // The oldest queued input report with its id: its bytes, 0 when none is
  // queued, -1 when the device is gone.
  int (*read_input)(void* device, unsigned char* data, size_t length);
};

using KvrHidPortEntry = const KvrHidPort* (*)();
}

namespace kvr {

// The port of this process: the library named by KVR_HID_PORT, else hidapi
// (libhidapi-hidraw.so.0) loaded at run time. Null when neither can be had;
// the reason is said once on standard error when `sayProblem` (the module
// library says it, so that the two libraries of a program say it once).
const KvrHidPort* SystemHidPort(bool sayProblem);

}  // namespace kvr

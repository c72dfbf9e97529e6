// Fake USB HID devices behind the HID port interface, for tests with no
// USB: each open handle is a pipe in packet mode whose packets are the
// device's input reports, so the library's poll and reads run as on hidraw:
// one report a read, and an end of file once the device is unplugged. Devices
// come and go by the control functions (fake_hid_control.h).
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/hid_port.h"
#include "common/hid_protocol.h"
#include "fake_hid_control.h"

namespace {

struct Device;

struct Handle {
  Device* device;
  int ours;    // the library's end
  int theirs;  // the device's end, -1 once unplugged
};

struct Device {
  std::string path;
  unsigned short page = 0, usage = 0;
  std::vector<unsigned char> identity;
  bool writeFails = false;
  bool plugged = true;
  std::vector<Handle*> handles;
};

std::mutex g_mutex;
std::vector<std::unique_ptr<Device>> g_devices;  // unplugged ones stay for their handles

Device* Plugged(const std::string& path) {
  for (auto& d : g_devices) {
    if (d->plugged && d->path == path) return d.get();
  }
  return nullptr;
}

void Unplug(Device& device) {
  device.plugged = false;
  for (Handle* h : device.handles) {
    if (h->theirs >= 0) ::close(h->theirs);
    h->theirs = -1;
  }
}

void Plug(const std::string& path, unsigned short page, unsigned short usage,
          std::vector<unsigned char> identity) {
  if (Device* old = Plugged(path)) Unplug(*old);
  auto device = std::make_unique<Device>();
  device->path = path;
  device->page = page;
  device->usage = usage;
  device->identity = std::move(identity);
  g_devices.push_back(std::move(device));
}

// A report into a handle's queue; one the full queue has no room for is
// dropped, as the device's own would be.
bool Put(int theirs, const unsigned char* report, std::size_t bytes) {
  return ::write(theirs, report, bytes) > 0;
}

// ---- the port ----

int Enumerate(KvrHidEach each, void* context) {
  std::vector<std::pair<std::string, std::pair<unsigned short, unsigned short>>> found;
  {
    const std::lock_guard lock(g_mutex);
    for (auto& d : g_devices) {
      if (d->plugged) found.push_back({d->path, {d->page, d->usage}});
    }
  }
  for (const auto& [path, usage] : found) {
    const KvrHidDeviceInfo info{path.c_str(), usage.first, usage.second, 0x1209, 0x0001};
    each(context, &info);
  }
  return 0;
}

void* Open(const char* path) {
  const std::lock_guard lock(g_mutex);
  Device* device = Plugged(path);
  int pair[2];
  if (device == nullptr || pipe2(pair, O_DIRECT | O_NONBLOCK | O_CLOEXEC) != 0) return nullptr;
  // A packet takes a page of the pipe: room for hidraw's 64 reports.
  fcntl(pair[1], F_SETPIPE_SZ, 64 * static_cast<int>(sysconf(_SC_PAGESIZE)));
  auto* handle = new Handle{device, pair[0], pair[1]};
  device->handles.push_back(handle);
  return handle;
}

void Close(void* h) {
  const std::lock_guard lock(g_mutex);
  auto* handle = static_cast<Handle*>(h);
  auto& handles = handle->device->handles;
  handles.erase(std::remove(handles.begin(), handles.end(), handle), handles.end());
  ::close(handle->ours);
  if (handle->theirs >= 0) ::close(handle->theirs);
  delete handle;
}

int GetFeature(void* h, unsigned char* data, size_t length) {
  const std::lock_guard lock(g_mutex);
  const Device& device = *static_cast<Handle*>(h)->device;
  if (!device.plugged || device.identity.empty() || data[0] != device.identity[0]) return -1;
  const std::size_t bytes = std::min(length, device.identity.size());
  std::memcpy(data, device.identity.data(), bytes);
  return static_cast<int>(bytes);
}

int SendFeature(void* h, const unsigned char* data, size_t length) {
  const std::lock_guard lock(g_mutex);
  Device& device = *static_cast<Handle*>(h)->device;
  if (!device.plugged || device.writeFails) return -1;
  if (length >= 2 && data[0] == kvr::hid::kStoreMarkerReport && device.identity.size() >= 4) {
    device.identity[3] = data[1];
  }
  return static_cast<int>(length);
}

int InputFd(void* h) {
  return static_cast<Handle*>(h)->ours;
}

int ReadInput(void* h, unsigned char* data, size_t length) {
  const ssize_t n = ::read(static_cast<Handle*>(h)->ours, data, length);
  if (n > 0) return static_cast<int>(n);
  if (n < 0 && (errno == EAGAIN || errno == EINTR)) return 0;
  return -1;  // the device's end is closed: unplugged
}

const KvrHidPort kPort{kKvrHidPortVersion, "fake hid",  Enumerate, Open,     Close,
                       GetFeature,         SendFeature, InputFd,   ReadInput};

}  // namespace

extern "C" __attribute__((visibility("default"))) const KvrHidPort* kvr_hid_port() {
  return &kPort;
}

extern "C" {

__attribute__((visibility("default"))) void fake_hid_reset() {
  const std::lock_guard lock(g_mutex);
  for (auto& d : g_devices) Unplug(*d);
}

__attribute__((visibility("default"))) void fake_hid_plug(const char* path, unsigned short page,
                                                          unsigned short usage,
                                                          const unsigned char* identity,
                                                          size_t length) {
  const std::lock_guard lock(g_mutex);
  Plug(path, page, usage, std::vector<unsigned char>(identity, identity + length));
}

__attribute__((visibility("default"))) void fake_hid_unplug(const char* path) {
  const std::lock_guard lock(g_mutex);
  if (Device* device = Plugged(path)) Unplug(*device);
}

__attribute__((visibility("default"))) int fake_hid_send(const char* path,
                                                         const unsigned char* report,
                                                         size_t length) {
  const std::lock_guard lock(g_mutex);
  Device* device = Plugged(path);
  if (device == nullptr) return 0;
  int reached = 0;
  for (Handle* h : device->handles) {
    if (h->theirs >= 0 && Put(h->theirs, report, length)) ++reached;
  }
  return reached;
}

__attribute__((visibility("default"))) void fake_hid_fail_writes(const char* path, int fail) {
  const std::lock_guard lock(g_mutex);
  if (Device* device = Plugged(path)) device->writeFails = fail != 0;
}

__attribute__((visibility("default"))) int fake_hid_open_handles() {
  const std::lock_guard lock(g_mutex);
  int open = 0;
  for (auto& d : g_devices) open += static_cast<int>(d->handles.size());
  return open;
}
}

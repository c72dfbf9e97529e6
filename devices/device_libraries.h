#pragma once
#include <memory>
#include <stdexcept>
#include <string>

#include "kvr100.h"
#include "kvr_usb_io.h"
#include "kvr_usb_probe.h"

namespace tavelin {

inline constexpr const char* kKvr100File = "libkvr100.so";
inline constexpr const char* kKvrUsbIoFile = "libkvr_usb_io.so";
inline constexpr const char* kKvrUsbProbeFile = "libkvr_usb_probe.so";

// Where the device libraries of a program in `programFolder` are: beside
// it (a portable folder), else in ../lib/tavelin (an install under a
// prefix); the program's folder when neither holds them, so that a missing
// library is named where it was looked for first.
std::string DeviceLibraryFolder(const std::string& programFolder);

struct Kvr100EntryPoints {
  kv_timeGetTime_fn kv_timeGetTime = nullptr;
  kr_Version_fn kr_Version = nullptr;
  kr_Average_fn kr_Average = nullptr;
  ColorAttenuation_fn ColorAttenuation = nullptr;
};

struct UsbIoEntryPoints {
  search_USBIO_fn search_USBIO = nullptr;
  recive_USBIO_fn recive_USBIO = nullptr;
  dataCalculation_USBIO_fn dataCalculation_USBIO = nullptr;
  setting_write_USBIO_fn setting_write_USBIO = nullptr;
  close_All_USBIO_fn close_All_USBIO = nullptr;
  close_USBIO_fn close_USBIO = nullptr;
  kr_usbio_Version_fn kr_usbio_Version = nullptr;
  // Where the library has it: what stands on a channel, for `devices`.
  describe_USBIO_fn describe_USBIO = nullptr;
};

struct UsbProbeEntryPoints {
  search_USBProbe_fn search_USBProbe = nullptr;
  recive_USBProbe_fn recive_USBProbe = nullptr;
  dataCalculation_USBProbe_fn dataCalculation_USBProbe = nullptr;
  close_All_USBProbe_fn close_All_USBProbe = nullptr;
  close_USBProbe_fn close_USBProbe = nullptr;
  kr_usbprobe_Version_fn kr_usbprobe_Version = nullptr;
  describe_USBProbe_fn describe_USBProbe = nullptr;  // where the library has it
};

// A device library that cannot be opened, or lacks an entry point.
class LibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An opened shared library; closed with the object.
class SharedLibrary {
 public:
  static SharedLibrary Open(const std::string& path);
  SharedLibrary(SharedLibrary&&) noexcept = default;
  SharedLibrary& operator=(SharedLibrary&&) noexcept = default;
  ~SharedLibrary() = default;

  // The address of an exported entry point; throws LibraryError when absent.
  void* EntryPoint(const char* name) const;
  // The same, or null when the library has none of that name.
  void* OptionalEntryPoint(const char* name) const;
  // `target` set to the entry point `name`; throws LibraryError when absent.
  template <typename Function>
  void Resolve(Function& target, const char* name) const {
    target = reinterpret_cast<Function>(EntryPoint(name));
  }

 private:
  struct Closer {
    void operator()(void* handle) const;
  };
  SharedLibrary(std::string path, void* handle) : path_(std::move(path)), handle_(handle) {}
  std::string path_;
  std::unique_ptr<void, Closer> handle_;
};

// A library kept open together with its resolved entry points.
template <typename EntryPoints>
struct LoadedLibrary {
  SharedLibrary library;
  EntryPoints api;
};

// Each opens the library of that name in `folder` and resolves every entry
// point it has; throws LibraryError when that fails.
LoadedLibrary<Kvr100EntryPoints> LoadKvr100(const std::string& folder);
LoadedLibrary<UsbIoEntryPoints> LoadKvrUsbIo(const std::string& folder);
LoadedLibrary<UsbProbeEntryPoints> LoadKvrUsbProbe(const std::string& folder);

// All three, as the program holds them for its life.
struct DeviceLibraries {
  LoadedLibrary<Kvr100EntryPoints> kvr100;
  LoadedLibrary<UsbIoEntryPoints> usbIo;
  LoadedLibrary<UsbProbeEntryPoints> usbProbe;
};

}  // namespace tavelin

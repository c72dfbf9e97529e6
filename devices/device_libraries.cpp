#include "devices/device_libraries.h"

#include <dlfcn.h>

#include <filesystem>

namespace tavelin {
namespace {

template <typename Function>
void Resolve(const SharedLibrary& library, Function& target, const char* name) {
  target = reinterpret_cast<Function>(library.EntryPoint(name));
}

std::string PathIn(const std::string& folder, const char* file) {
  return folder + "/" + file;
}

}  // namespace

std::string DeviceLibraryFolder(const std::string& programFolder) {
  std::error_code error;
  if (std::filesystem::exists(PathIn(programFolder, kKvr100File), error)) return programFolder;
  const std::filesystem::path installed =
      std::filesystem::path(programFolder).parent_path() / "lib" / "tavelin";
  if (std::filesystem::exists(installed / kKvr100File, error)) return installed.string();
  return programFolder;
}

void SharedLibrary::Closer::operator()(void* handle) const {
  if (handle != nullptr) dlclose(handle);
}

SharedLibrary SharedLibrary::Open(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* why = dlerror();
    throw LibraryError(why ? why : ("cannot open " + path));
  }
  return SharedLibrary(path, handle);
}

void* SharedLibrary::EntryPoint(const char* name) const {
  void* address = OptionalEntryPoint(name);
  if (address == nullptr) throw LibraryError(path_ + ": no entry point " + name);
  return address;
}

void* SharedLibrary::OptionalEntryPoint(const char* name) const {
  dlerror();
  return dlsym(handle_.get(), name);
}

LoadedLibrary<Kvr100EntryPoints> LoadKvr100(const std::string& folder) {
  LoadedLibrary<Kvr100EntryPoints> loaded{SharedLibrary::Open(PathIn(folder, kKvr100File)), {}};
  Resolve(loaded.library, loaded.api.kv_timeGetTime, "kv_timeGetTime");
  Resolve(loaded.library, loaded.api.kr_Version, "kr_Version");
  Resolve(loaded.library, loaded.api.kr_Average, "kr_Average");
  Resolve(loaded.library, loaded.api.ColorAttenuation, "ColorAttenuation");
  return loaded;
}

LoadedLibrary<UsbIoEntryPoints> LoadKvrUsbIo(const std::string& folder) {
  LoadedLibrary<UsbIoEntryPoints> loaded{SharedLibrary::Open(PathIn(folder, kKvrUsbIoFile)), {}};
  auto& api = loaded.api;
  Resolve(loaded.library, api.search_USBIO, "search_USBIO");
  Resolve(loaded.library, api.recive_USBIO, "recive_USBIO");
  Resolve(loaded.library, api.dataCalculation_USBIO, "dataCalculation_USBIO");
  Resolve(loaded.library, api.setting_write_USBIO, "setting_write_USBIO");
  Resolve(loaded.library, api.close_All_USBIO, "close_All_USBIO");
  Resolve(loaded.library, api.close_USBIO, "close_USBIO");
  Resolve(loaded.library, api.kr_usbio_Version, "kr_usbio_Version");
  api.describe_USBIO =
      reinterpret_cast<describe_USBIO_fn>(loaded.library.OptionalEntryPoint("describe_USBIO"));
  return loaded;
}

LoadedLibrary<UsbProbeEntryPoints> LoadKvrUsbProbe(const std::string& folder) {
  LoadedLibrary<UsbProbeEntryPoints> loaded{SharedLibrary::Open(PathIn(folder, kKvrUsbProbeFile)),
                                            {}};
  auto& api = loaded.api;
  Resolve(loaded.library, api.search_USBProbe, "search_USBProbe");
  Resolve(loaded.library, api.recive_USBProbe, "recive_USBProbe");
  Resolve(loaded.library, api.dataCalculation_USBProbe, "dataCalculation_USBProbe");
  Resolve(loaded.library, api.close_All_USBProbe, "close_All_USBProbe");
  Resolve(loaded.library, api.close_USBProbe, "close_USBProbe");
  Resolve(loaded.library, api.kr_usbprobe_Version, "kr_usbprobe_Version");
  api.describe_USBProbe = reinterpret_cast<describe_USBProbe_fn>(
      loaded.library.OptionalEntryPoint("describe_USBProbe"));
  return loaded;
}

}  // namespace tavelin

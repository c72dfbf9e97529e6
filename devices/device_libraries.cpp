#include "devices/device_libraries.h"

#include <dlfcn.h>

#include <filesystem>

namespace tavelin {
namespace {

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
  loaded.library.Resolve(loaded.api.kv_timeGetTime, "kv_timeGetTime");
  loaded.library.Resolve(loaded.api.kr_Version, "kr_Version");
  loaded.library.Resolve(loaded.api.kr_Average, "kr_Average");
  loaded.library.Resolve(loaded.api.ColorAttenuation, "ColorAttenuation");
  return loaded;
}

LoadedLibrary<UsbIoEntryPoints> LoadKvrUsbIo(const std::string& folder) {
  LoadedLibrary<UsbIoEntryPoints> loaded{SharedLibrary::Open(PathIn(folder, kKvrUsbIoFile)), {}};
  auto& api = loaded.api;
  loaded.library.Resolve(api.search_USBIO, "search_USBIO");
  loaded.library.Resolve(api.recive_USBIO, "recive_USBIO");
  loaded.library.Resolve(api.dataCalculation_USBIO, "dataCalculation_USBIO");
  loaded.library.Resolve(api.setting_write_USBIO, "setting_write_USBIO");
  loaded.library.Resolve(api.close_All_USBIO, "close_All_USBIO");
  loaded.library.Resolve(api.close_USBIO, "close_USBIO");
  loaded.library.Resolve(api.kr_usbio_Version, "kr_usbio_Version");
  api.describe_USBIO =
      reinterpret_cast<describe_USBIO_fn>(loaded.library.OptionalEntryPoint("describe_USBIO"));
  return loaded;
}

LoadedLibrary<UsbProbeEntryPoints> LoadKvrUsbProbe(const std::string& folder) {
  LoadedLibrary<UsbProbeEntryPoints> loaded{SharedLibrary::Open(PathIn(folder, kKvrUsbProbeFile)),
                                            {}};
  auto& api = loaded.api;
  loaded.library.Resolve(api.search_USBProbe, "search_USBProbe");
  loaded.library.Resolve(api.recive_USBProbe, "recive_USBProbe");
  loaded.library.Resolve(api.dataCalculation_USBProbe, "dataCalculation_USBProbe");
  loaded.library.Resolve(api.close_All_USBProbe, "close_All_USBProbe");
  loaded.library.Resolve(api.close_USBProbe, "close_USBProbe");
  loaded.library.Resolve(api.kr_usbprobe_Version, "kr_usbprobe_Version");
  api.describe_USBProbe = reinterpret_cast<describe_USBProbe_fn>(
      loaded.library.OptionalEntryPoint("describe_USBProbe"));
  return loaded;
}

}  // namespace tavelin

#include "support/simulation.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace tavelin::test {

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "tavelin-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempFolder::Write(const std::string& name, const std::string& text) const {
  const auto path = path_ / name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

Simulation::Simulation(const std::string& text) : file_(folder_.Write("bench.sim", text)) {
  setenv("KVR_SIMULATION", file_.c_str(), 1);
}

Simulation::~Simulation() {
  unsetenv("KVR_SIMULATION");
}

void Simulation::Rewrite(const std::string& text) const {
  folder_.Write("bench.sim", text);
}

void Simulation::Script(const std::string& name, const std::vector<std::string>& steps) const {
  std::string text;
  for (const auto& step : steps) text += step + "\n";
  folder_.Write(name, text);
}

DeviceLibraries& BuiltLibraries() {
  static DeviceLibraries libraries{LoadKvr100(TAVELIN_BIN_DIR), LoadKvrUsbIo(TAVELIN_BIN_DIR),
                                   LoadKvrUsbProbe(TAVELIN_BIN_DIR)};
  return libraries;
}

std::string Described(int32_t channel, bool probe) {
  char text[256];
  const DeviceLibraries& libraries = BuiltLibraries();
  const int32_t length = probe
                             ? libraries.usbProbe.api.describe_USBProbe(channel, text, sizeof text)
                             : libraries.usbIo.api.describe_USBIO(channel, text, sizeof text);
  return length > 0 ? std::string(text) : std::string();
}

}  // namespace tavelin::test

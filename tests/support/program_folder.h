#pragma once
#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "devices/device_libraries.h"
#include "support/simulation.h"

namespace tavelin::test {

// The program's folder: the built libraries, some replaced by stand-ins or
// left out.
class ProgramFolder {
 public:
  explicit ProgramFolder(std::map<std::string, std::string> standIns = {},
                         std::vector<std::string> missing = {}) {
    namespace fs = std::filesystem;
    for (const char* file : {kKvr100File, kKvrUsbIoFile, kKvrUsbProbeFile}) {
      if (std::find(missing.begin(), missing.end(), file) != missing.end()) continue;
      const auto standIn = standIns.find(file);
      fs::create_symlink(standIn == standIns.end()
                             ? fs::path(TAVELIN_BIN_DIR) / file
                             : fs::path(TAVELIN_FAKES_DIR) / standIn->second / file,
                         folder_.Path() / file);
    }
  }
  std::string Path() const { return folder_.Path().string(); }
  bool Has(const char* file) const { return std::filesystem::exists(folder_.Path() / file); }

 private:
  TempFolder folder_;
};

}  // namespace tavelin::test

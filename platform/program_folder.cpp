#include "platform/program_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/special_folders.h"

namespace tavelin {
namespace {

// $XDG_DATA_HOME/tavelin, or ~/.local/share/tavelin; empty without a home.
std::string DataFolder() {
  return XdgFolder("XDG_DATA_HOME", ".local/share");
}

}  // namespace

std::string ProgramFolder() {
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return std::filesystem::current_path().string();
  return executable.parent_path().string();
}

bool FolderIsWritable(const std::string& folder) {
  return !folder.empty() && access(folder.c_str(), W_OK | X_OK) == 0;
}

std::string WritableFolder(const std::string& programFolder) {
  if (FolderIsWritable(programFolder)) return programFolder;
  const std::string data = DataFolder();
  std::error_code error;
  if (!data.empty()) std::filesystem::create_directories(data, error);
  return FolderIsWritable(data) ? data : programFolder;
}

}  // namespace tavelin

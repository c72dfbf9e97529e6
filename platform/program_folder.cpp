#include "platform/program_folder.h"

#include <filesystem>

namespace tavelin {

std::string ProgramFolder() {
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return std::filesystem::current_path().string();
  return executable.parent_path().string();
}

}  // namespace tavelin

#include "platform/special_folders.h"

#include <cstdlib>
#include <fstream>

namespace tavelin {
namespace {

std::string ConfigHome(const std::string& home) {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  return config != nullptr && *config != '\0' ? config : home + "/.config";
}

// XDG_DESKTOP_DIR="$HOME/Schreibtisch" → the folder, or empty.
std::string DesktopFromUserDirs(const std::string& home) {
  std::ifstream in(ConfigHome(home) + "/user-dirs.dirs");
  const std::string key = "XDG_DESKTOP_DIR=";
  for (std::string line; std::getline(in, line);) {
    if (line.rfind(key, 0) != 0) continue;
    std::string value = line.substr(key.size());
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    if (value.rfind("$HOME", 0) == 0) value = home + value.substr(5);
    return value;
  }
  return {};
}

}  // namespace

std::string DesktopFolder() {
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home == '\0') return {};
  const std::string fromUserDirs = DesktopFromUserDirs(home);
  return fromUserDirs.empty() ? std::string(home) + "/Desktop" : fromUserDirs;
}

std::string XdgFolder(const char* variable, const char* underHome) {
  const char* base = std::getenv(variable);
  if (base != nullptr && base[0] == '/') return std::string(base) + "/tavelin";
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') return {};
  return std::string(home) + "/" + underHome + "/tavelin";
}

std::string StateFolder() {
  return XdgFolder("XDG_STATE_HOME", ".local/state");
}

std::string JournalFolder() {
  const std::string state = StateFolder();
  return state.empty() ? state : state + "/journal";
}

std::string ConfigFolder() {
  return XdgFolder("XDG_CONFIG_HOME", ".config");
}

std::string SpoolFolder() {
  const std::string state = StateFolder();
  return state.empty() ? state : state + "/spool";
}

}  // namespace tavelin

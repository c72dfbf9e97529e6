#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "devices/device_libraries.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// Shows a critical message box titled Application_title; lines joined by "\n".
using CriticalMessage = std::function<void(const std::string& text)>;

struct LibraryVersionCheck {
  // 1 all three pass; -1 a message was shown; 0 a library could not be
  // opened or called (no message: the start-up ends silently).
  int32_t result = 0;
  // Why a library could not be opened, for a console that wants to say it.
  std::string failure;
  // The opened libraries, when result is 1.
  std::optional<DeviceLibraries> libraries;
};

// The text a version entry point left in its 16-character buffer, with every
// NUL removed and blanks trimmed at both ends.
std::string CleanVersionText(const char* buffer);

// Checks that the three device libraries in `folder` are there and report
// the versions `device` expects, and keeps them open for the program.
LibraryVersionCheck CheckLibraryVersions(const ELM327_Info& device, const std::string& folder,
                                         const CriticalMessage& showMessage);

}  // namespace tavelin

#pragma once
#include <string>

namespace tavelin {

// The user's desktop folder: XDG_DESKTOP_DIR of the user's user-dirs.dirs,
// else ~/Desktop; empty when there is no home.
std::string DesktopFolder();

}  // namespace tavelin

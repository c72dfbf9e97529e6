#pragma once
#include <string>

namespace tavelin {

// The folder of the running executable, without a trailing separator: the
// program and its device libraries live there.
std::string ProgramFolder();

// Whether this user can make files in `folder`.
bool FolderIsWritable(const std::string& folder);

// Where the program keeps what it writes beside itself (the settings files,
// the instance lock, logs of mode 0): the program's folder where the user
// may write there, as in a portable install; else, under /opt or /usr,
// $XDG_DATA_HOME/tavelin (by default ~/.local/share/tavelin), made on first
// use. The program's folder still, when that cannot be made either.
std::string WritableFolder(const std::string& programFolder);

}  // namespace tavelin

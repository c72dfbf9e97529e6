#pragma once
#include <string>

namespace tavelin {

// The user's desktop folder: XDG_DESKTOP_DIR of the user's user-dirs.dirs,
// else ~/Desktop; empty when there is no home.
std::string DesktopFolder();

// $VARIABLE/tavelin when the variable holds an absolute path, else
// ~/UNDER_HOME/tavelin (the XDG base directories); empty without a home.
std::string XdgFolder(const char* variable, const char* underHome);

// $XDG_STATE_HOME/tavelin (~/.local/state/tavelin): what a crash must not
// lose; empty without a home.
std::string StateFolder();

// Where the journals of logged runs are kept: $XDG_STATE_HOME/tavelin/journal,
// by default ~/.local/state/tavelin/journal, a writable place whatever the
// log folder is. Made on first use by the journal; empty without a home.
std::string JournalFolder();

// $XDG_CONFIG_HOME/tavelin (~/.config/tavelin): the settings that are
// the user's, not the bench's (publish.conf); empty without a home.
std::string ConfigFolder();

// Where rows wait for the broker: $XDG_STATE_HOME/tavelin/spool.
std::string SpoolFolder();

}  // namespace tavelin

#pragma once
#include <string>

#include "trend/log_table.h"

namespace tavelin {

// The rows a run's journal holds (those of a crashed run that no log file
// took), as traces named by the devices' comments; up to any damage.
LogTable ReadJournalTable(const std::string& path);

// Whether the file starts as a journal of ours does.
bool LooksLikeJournal(const std::string& path);

}  // namespace tavelin

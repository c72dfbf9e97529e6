#pragma once
#include <string>

namespace kvr {

// A serial line opened raw at `baud`, 8N1, non-blocking, for this process
// alone (TIOCEXCL); -1 with the reason in `why`.
int OpenSerialLine(const std::string& path, int baud, std::string& why);

}  // namespace kvr

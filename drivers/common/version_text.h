#pragma once
#include <cstdint>

namespace kvr {

// Writes `text` into the program's 16-character version buffer, NUL-padded.
void FillVersionText(char* buffer, const char* text);

}  // namespace kvr

#pragma once
#include <cstdint>

namespace tavelin {

extern const char* const kHelpCommonSettings;   // kind 1
extern const char* const kHelpDigitalChannels;  // kind 2
extern const char* const kHelpAnalogChannels;   // kind 3

// The text of a help kind, or null for a kind that has none.
const char* HelpText(int32_t kind);

}  // namespace tavelin

#pragma once
#include <string>

namespace tavelin {

// The folder of the running executable, without a trailing separator: the
// program, its device libraries and its settings files live there.
std::string ProgramFolder();

}  // namespace tavelin

#pragma once
#include <string>
#include <vector>

namespace tavelin {

// tavelin --plot LOGFILE --output FILE.png [--channels LIST] [--size WxH]:
// the whole run of a log as the trend window draws it, written as a PNG
// (or SVG, for a name ending in .svg) without a display. LIST names traces by number from 1
// ("1,3,5-8") or by name. Returns the exit status: 0 written, 1 a file that cannot be read or
// written, 2 a mistake on the command line; says why on standard error.
int RunPlot(const std::vector<std::string>& arguments);

// Whether the command line asks for a plot (before any window is made).
bool AsksForPlot(int argc, char** argv);

}  // namespace tavelin

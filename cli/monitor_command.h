#pragma once
#include <string>
#include <vector>

namespace tavelin::cli {

// tavelin-cli monitor: a sampling run shown in the terminal until Ctrl+C.
int RunMonitor(const std::vector<std::string>& args, const std::string& programFolder);

}  // namespace tavelin::cli

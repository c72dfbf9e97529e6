#pragma once
#include <atomic>
#include <string>
#include <vector>

namespace tavelin {

// What a log file of ours holds, as columns: each column a trace, named
// after its channel's comment and its own heading ("0Ch b3", "0ch 入力2").
struct LogTable {
  std::vector<std::string> labels;
  std::vector<double> times;  // ms since the run's start
  std::vector<std::vector<float>> columns;
  // Why the reading stopped before the end, or why nothing was read (a
  // file that is not ours, or cut); empty when the whole file was read.
  std::string problem;
};

// A csv (CP932) or .xls log of ours, or a run's journal; what it holds up
// to any damage.
LogTable ReadLogFile(const std::string& path);

// The numbered files of the run `path` belongs to, in its folder, as one
// table: the files around it with the same name stem, layout and a
// clock that goes on from the file before.
// `filesRead`, when given, counts the files read so far (a window shows it
// while a long run loads on another thread).
LogTable ReadLogRun(const std::string& path, std::vector<std::string>* files = nullptr,
                    std::atomic<int>* filesRead = nullptr);

}  // namespace tavelin

#pragma once
#include <atomic>
#include <functional>
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

// One file of a run, as the walk over the run's files reads it.
struct RunFileRead {
  std::string path;
  LogTable table;
  int filesInRun = 1;  // the numbered files from the run's first on, counted before reading
};

// The files of the run `path` belongs to (see ReadLogRun), one at a time
// from the first, each given to `take`, which may keep its table: a long
// run is never whole in memory. `filesRead`, when given, counts the files
// read so far (a window shows it while a long run loads on a thread).
void ForEachFileOfRun(const std::string& path, const std::function<void(RunFileRead&)>& take,
                      std::atomic<int>* filesRead = nullptr);

// The files of the run `path` belongs to, in its folder, as one table: the
// logs written before and after it (across clock hours too) with the same
// layout and a clock that goes on from the file before.
LogTable ReadLogRun(const std::string& path, std::vector<std::string>* files = nullptr);

}  // namespace tavelin

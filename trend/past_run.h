#pragma once
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "trend/trend_traces.h"

namespace tavelin {

// A run read back from its logs for the trend. A short run keeps every
// row; a long one keeps each block of rows as its extremes (so memory goes
// with the run's length over the block, whatever the run), and its files,
// from which a narrow frame reads every row again.
struct PastRun {
  struct File {
    std::string path;
    double firstMs = 0.0;
    double lastMs = 0.0;
  };
  TrendTraces traces;
  std::vector<File> files;
  std::size_t rows = 0;
  std::string problem;  // why the reading stopped, as LogTable::problem
};

// What the reduced traces of a run may take: ten hours at 1 kHz of 24
// inputs fit with blocks of 64 rows, with room beside them for the rows of
// a narrow view read back.
constexpr std::size_t kPastRunBytes = std::size_t{160} << 20;

// The run `path` belongs to, file by file; `filesRead` counts the files
// read so far, for a window showing the progress.
PastRun ReadPastRun(const std::string& path, std::atomic<int>* filesRead = nullptr,
                    std::size_t budgetBytes = kPastRunBytes);

// Every row from `fromMs` to `toMs` of a run of `files` and `labels`: the
// files that hold them, read again. None when more than `mostFiles` would
// be read, or when a file no longer holds the run's traces.
std::shared_ptr<const TrendTraces> ReadDetail(const std::vector<PastRun::File>& files,
                                              const std::vector<std::string>& labels, double fromMs,
                                              double toMs, std::size_t mostFiles = 16);

}  // namespace tavelin

#include "trend/past_run.h"

#include "trend/log_table.h"

namespace tavelin {
namespace {

// The block a run of about `rows` rows of `traces` traces needs for its
// reduced samples (two a block) to stay within `budget`: 1, every row,
// when they all fit.
std::size_t BlockFor(std::size_t rows, std::size_t traces, std::size_t budget) {
  // A sample's time, and its value in a trace with the pyramid's minima and
  // maxima above it (2/8 + 2/64 + ... of it).
  const std::size_t sampleBytes = sizeof(double) + traces * sizeof(float) * 9 / 7 + 1;
  if (rows * sampleBytes <= budget) return 1;
  std::size_t block = 4;
  while (2 * (rows / block) * sampleBytes > budget) block *= 2;
  return block;
}

}  // namespace

PastRun ReadPastRun(const std::string& path, std::atomic<int>* filesRead, std::size_t budgetBytes) {
  PastRun run;
  std::size_t block = 1;
  ForEachFileOfRun(
      path,
      [&](RunFileRead& file) {
        const LogTable& table = file.table;
        if (run.files.empty()) {
          run.traces.SetLabels(table.labels);
          run.problem = table.problem;
          // Every file of a run but its last holds as many rows as its first.
          const std::size_t rows = table.times.size() * static_cast<std::size_t>(file.filesInRun);
          block = BlockFor(rows, table.labels.size(), budgetBytes);
          run.traces.Reserve(block == 1 ? rows : 2 * (rows / block + file.filesInRun));
        }
        if (table.times.empty()) return;
        run.traces.AppendReduced(table, block);
        run.files.push_back({file.path, table.times.front(), table.times.back()});
        run.rows += table.times.size();
      },
      filesRead);
  run.traces.ShrinkToFit();
  return run;
}

std::shared_ptr<const TrendTraces> ReadDetail(const std::vector<PastRun::File>& files,
                                              const std::vector<std::string>& labels, double fromMs,
                                              double toMs, std::size_t mostFiles) {
  std::vector<const PastRun::File*> holding;
  for (const PastRun::File& file : files) {
    if (file.lastMs >= fromMs && file.firstMs <= toMs) holding.push_back(&file);
  }
  if (holding.empty() || holding.size() > mostFiles) return nullptr;
  auto detail = std::make_shared<TrendTraces>();
  detail->SetLabels(labels);
  for (const PastRun::File* file : holding) {
    const LogTable table = ReadLogFile(file->path);
    if (table.labels != labels || table.times.empty()) return nullptr;
    detail->AppendReduced(table, 1);
  }
  return detail;
}

}  // namespace tavelin

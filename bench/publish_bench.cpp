// What the sampling pass pays for publishing: the hand-off of one logged
// row of sixteen values to the publisher (goal: nothing measurable beside
// a pass of some microseconds). The publisher's thread meanwhile spools
// the rows for a broker that is away. bench/publish_cost.py measures the
// processor time of a whole run with a broker.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>

#include "platform/little_endian.h"
#include "publishing/publisher.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

void PublisherHandOff(benchmark::State& state) {
  const fs::path spool =
      fs::temp_directory_path() / ("tavelin-publish-" + std::to_string(getpid()));
  PublishSettings settings;
  settings.url = "mqtt://127.0.0.1:1/lab";  // nobody there: rows wait in the spool
  settings.bench = "bench";
  std::string why;
  PublishTarget target = *TargetOf(settings, why);
  target.spoolFolder = spool.string();
  JournalHead head;
  head.viewCh = 3;
  for (int16_t c = 0; c < 16; ++c) head.devices.push_back({c, std::to_string(c) + "Ch"});
  std::string values;
  for (int c = 0; c < 16; ++c) le::F64(values, c * 1.5);
  {
    Publisher publisher(target, nullptr);
    publisher.RunStarted(head, 1.0);
    double timeMs = 0.0;
    for (auto _ : state) publisher.RowLogged(timeMs += 1.0, values);
    publisher.RunEnded();
    state.SetLabel("once a logged row; goal: small beside LoggedPass/with_journal");
  }
  fs::remove_all(spool);
}
BENCHMARK(PublisherHandOff)->Iterations(200000);

}  // namespace
}  // namespace tavelin

// The publisher against Debian's mosquitto, started by each test on
// 127.0.0.1: outages, a run that ends while the broker is away, a refused
// login, and what tavelin-cli record publishes read against its log (as the
// trend reads it).
#include "publishing/publisher.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

#include "cli/record_command.h"
#include "platform/little_endian.h"
#include "support/mosquitto_broker.h"
#include "support/program_folder.h"
#include "support/scoped_environment.h"
#include "trend/log_table.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;
using test::MosquittoBroker;
using test::Subscriber;
using test::TempFolder;

JournalHead SixteenValues() {
  JournalHead head;
  head.viewCh = 3;
  head.comment = "炉 \"A\"";
  for (int16_t c = 0; c < 16; ++c) head.devices.push_back({c, std::to_string(c) + "Ch"});
  return head;
}

std::string ValuesOfRow(int row) {
  std::string values;
  for (int c = 0; c < 16; ++c) le::F64(values, row * 16 + c);
  return values;
}

// What the publisher says, kept for the test to read.
struct Said {
  std::mutex mutex;
  std::vector<std::string> lines;
  Publisher::Say Sink() {
    return [this](const std::string& line) {
      const std::lock_guard lock(mutex);
      lines.push_back(line);
    };
  }
  int Count(const std::string& part) {
    const std::lock_guard lock(mutex);
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.find(part) != std::string::npos;
    }));
  }
};

PublishTarget TargetFor(const std::string& url, const fs::path& spool) {
  PublishSettings settings;
  settings.url = url;
  settings.bench = "b1";
  std::string why;
  auto target = TargetOf(settings, why);
  EXPECT_TRUE(target) << why;
  target->spoolFolder = spool.string();
  return *target;
}

// Rows `first` to `last` (from 1), about one a millisecond.
void Feed(Publisher& publisher, int first, int last) {
  for (int row = first; row <= last; ++row) {
    publisher.RowLogged(row, ValuesOfRow(row));
    if (row % 10 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

// The rows' sequence numbers as they arrived, repeats dropped: each once, in order.
void ExpectEveryRowOnceInOrder(const std::vector<std::string>& rows, int count) {
  std::set<int64_t> seen;
  int64_t last = 0;
  for (const std::string& row : rows) {
    const json message = json::parse(row);
    const int64_t seq = message["seq"];
    if (!seen.insert(seq).second) continue;  // a repeat QoS 1 allows
    ASSERT_EQ(seq, last + 1) << "out of order";
    last = seq;
    ASSERT_EQ(message["channels"][5]["value"], static_cast<double>(seq * 16 + 5));
  }
  EXPECT_EQ(last, count);
}

bool RunEnded(const std::vector<test::Received>& messages) {
  return std::any_of(messages.begin(), messages.end(), [](const test::Received& message) {
    return message.topic == "lab/b1/run" && message.payload.find("\"ended\"") != std::string::npos;
  });
}

// On MQTT 5; the other tests speak 3.1.1.
TEST(Publisher, EveryRowArrivesOnceInOrderAcrossBrokerOutages) {
  MosquittoBroker broker;
  Subscriber subscriber(broker, "lab/#");
  TempFolder spool;
  Said said;
  PublishTarget target = TargetFor(broker.Url("lab"), spool.Path());
  target.version = 5;
  Publisher publisher(target, said.Sink());
  publisher.RunStarted(SixteenValues(), 1.0);
  Feed(publisher, 1, 800);
  broker.Stop();
  Feed(publisher, 801, 2000);  // over a second with the broker away
  broker.Start();
  Feed(publisher, 2001, 4500);  // long enough to find it back
  broker.Stop();
  Feed(publisher, 4501, 5000);
  broker.Start();
  Feed(publisher, 5001, 5500);
  publisher.RunEnded();
  EXPECT_EQ(publisher.Finish(30, 10), 0);
  ASSERT_TRUE(subscriber.WaitFor(RunEnded, std::chrono::seconds(10)));
  ExpectEveryRowOnceInOrder(subscriber.Rows(), 5500);
  EXPECT_EQ(said.Count("切れました"), 2) << testing::PrintToString(said.lines);
  EXPECT_TRUE(fs::is_empty(spool.Path())) << "a spool whose rows all arrived stays";
}

TEST(Publisher, ARunThatEndsWhileTheBrokerIsAwayIsDrainedLater) {
  MosquittoBroker broker;
  Subscriber subscriber(broker, "lab/#");
  TempFolder spool;
  const PublishTarget target = TargetFor(broker.Url("lab"), spool.Path());
  broker.Stop();
  {
    Said said;
    Publisher publisher(target, said.Sink());
    publisher.RunStarted(SixteenValues(), 1.0);
    Feed(publisher, 1, 500);
    publisher.RunEnded();
    EXPECT_GE(publisher.Finish(2, 0.5), 500);
    EXPECT_EQ(said.Count("つながりません"), 1) << "said once, however often it tries";
  }
  EXPECT_FALSE(fs::is_empty(spool.Path()));
  broker.Start();
  Said said;
  Publisher drain(target, said.Sink());
  EXPECT_EQ(drain.Finish(30, 10), 0);
  EXPECT_EQ(said.Count("保留の 502 行を送ります"), 1);  // the rows and the run's two messages
  ASSERT_TRUE(subscriber.WaitFor(RunEnded, std::chrono::seconds(10)));
  ExpectEveryRowOnceInOrder(subscriber.Rows(), 500);
  EXPECT_TRUE(fs::is_empty(spool.Path()));
}

// A login the broker refuses, or TLS that does not verify (the system's
// authorities know no test's): said once however often it tries, the rows
// wait, and the right password or the test's own authority sends them.
TEST(Publisher, ARefusedLoginOrUnverifiedTlsIsSaidOnceAndTheRowsWait) {
  for (const bool tls : {false, true}) {
    MosquittoBroker broker(tls ? "" : "tester:right\n", tls);
    TempFolder spool;
    PublishTarget target =
        TargetFor(tls ? "mqtts://127.0.0.1:" + std::to_string(broker.Port()) + "/lab"
                      : broker.Url("lab", "tester"),
                  spool.Path());
    if (!tls) target.password = "wrong";
    {
      Said said;
      Publisher publisher(target, said.Sink());
      publisher.RunStarted(SixteenValues(), 1.0);
      Feed(publisher, 1, 1500);  // several attempts meanwhile
      publisher.RunEnded();
      EXPECT_EQ(publisher.Finish(1, 1), 1502);
      EXPECT_EQ(said.Count(tls ? "TLS" : "接続を断りました"), 1) << tls;
    }
    target.password = "right";
    target.caFile = tls ? broker.CaFile() : "";
    Publisher drain(target, nullptr);
    EXPECT_EQ(drain.Finish(30, 10), 0) << tls;
  }
}

// A disk that refuses the spool (here a file size limit, as a full disk
// would): the rows wait in memory and all of them arrive. In a process of
// its own, which the limit holds.
int RunOnARefusingDisk() {
  MosquittoBroker broker;
  Subscriber subscriber(broker, "lab/#");
  TempFolder spool;
  const rlimit small{64 << 10, 64 << 10};
  std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  Said said;
  Publisher publisher(TargetFor(broker.Url("lab"), spool.Path()), said.Sink());
  publisher.RunStarted(SixteenValues(), 1.0);
  Feed(publisher, 1, 1000);
  publisher.RunEnded();
  const bool sent = publisher.Finish(30, 10) == 0;
  const bool toldOnce = said.Count("書けません") == 1;
  const bool arrived = subscriber.WaitFor(RunEnded, std::chrono::seconds(10));
  ExpectEveryRowOnceInOrder(subscriber.Rows(), 1000);
  return sent && toldOnce && arrived && !testing::Test::HasFailure() ? 0 : 1;
}

TEST(Publisher, ASpoolTheDiskRefusesIsSaidOnceAndLosesNothing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(RunOnARefusingDisk()), testing::ExitedWithCode(0), "");
}

// A published row as the log lays it out: its time, then every value or bit.
std::vector<double> Flattened(const json& row) {
  std::vector<double> fields{row["elapsed_ms"].get<double>()};
  for (const json& channel : row["channels"]) {
    for (const char* key : {"bits", "values"}) {
      if (channel.contains(key)) {
        for (const json& value : channel[key]) fields.push_back(value.get<double>());
      }
    }
    if (channel.contains("value")) fields.push_back(channel["value"].get<double>());
  }
  return fields;
}

TEST(Publisher, RecordPublishesTheRowsOfItsLogOneByOne) {
  MosquittoBroker broker;
  Subscriber subscriber(broker, "lab/#");
  test::ProgramFolder program;
  TempFolder logs, state, config;
  const test::ScopedEnvironment stateHome("XDG_STATE_HOME", state.Path().string());
  const test::ScopedEnvironment configHome("XDG_CONFIG_HOME", config.Path().string());
  test::Simulation simulation(
      "usbio 0 prepared counter 120\nusbio 1 prepared walk 90\nusbio 4 prepared random 7\n"
      "probe 0 sine 4000\nprobe 1 ramp 2500\n");
  for (const int mode : {1, 3, 4}) {
    SCOPED_TRACE(mode);
    fs::remove_all(logs.Path());
    fs::create_directory(logs.Path());
    cli::RunOptions options;
    options.mode = mode;
    options.seconds = 0.4;
    options.samplingMs = 2;
    options.folder = logs.Path().string();
    options.format = 2;
    cli::PublishOptions publish;
    publish.url = broker.Url("lab");
    publish.bench = "b1";
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = cli::RunRecord(options, program.Path(), publish);
    testing::internal::GetCapturedStdout();
    const std::string said = testing::internal::GetCapturedStderr();
    ASSERT_EQ(status, 0) << said;
    ASSERT_TRUE(subscriber.WaitFor(RunEnded, std::chrono::seconds(10)));

    const LogTable logged = ReadLogFile(fs::directory_iterator(logs.Path())->path().string());
    const auto published = subscriber.Rows();
    ASSERT_EQ(logged.problem, "");
    ASSERT_GT(logged.times.size(), 20u);
    ASSERT_EQ(published.size(), logged.times.size());
    for (std::size_t r = 0; r < published.size(); ++r) {
      const json row = json::parse(published[r]);
      ASSERT_EQ(row["seq"], r + 1);
      ASSERT_EQ(row["mode"], mode);
      const std::vector<double> fields = Flattened(row);
      ASSERT_EQ(fields.size(), 1 + logged.columns.size()) << "row " << r;
      ASSERT_NEAR(fields[0], logged.times[r], 1e-9 * std::max(1.0, fields[0])) << "row " << r;
      for (std::size_t c = 0; c < logged.columns.size(); ++c) {
        ASSERT_EQ(static_cast<float>(fields[1 + c]), logged.columns[c][r])
            << "row " << r << " " << c;
      }
    }
    subscriber.Clear();
  }
}

}  // namespace
}  // namespace tavelin

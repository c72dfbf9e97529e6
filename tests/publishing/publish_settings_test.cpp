// The broker's URL and publish.conf: what a user types, checked once.
#include "publishing/publish_settings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

#include "publishing/row_messages.h"
#include "support/scoped_environment.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

TEST(PublishSettings, BrokerUrlsAreTakenApartOrRefusedWithAReason) {
  struct Case {
    const char* url;
    bool tls;
    const char* user;
    const char* host;
    int port;
    const char* prefix;
  };
  for (const Case& c :
       {Case{"mqtt://broker/lab", false, "", "broker", 1883, "lab"},
        Case{"mqtts://ops@10.0.0.5:9000/plant/line2/", true, "ops", "10.0.0.5", 9000,
             "plant/line2"},
        Case{"mqtts://broker.example/lab", true, "", "broker.example", 8883, "lab"}}) {
    std::string why;
    const auto address = ParseBrokerUrl(c.url, why);
    ASSERT_TRUE(address) << c.url << ": " << why;
    EXPECT_EQ(address->tls, c.tls);
    EXPECT_EQ(address->user, c.user);
    EXPECT_EQ(address->host, c.host);
    EXPECT_EQ(address->port, c.port);
    EXPECT_EQ(address->prefix, c.prefix);
  }
  for (const char* bad : {"http://broker/lab", "mqtt://broker", "mqtt:///lab",
                          "mqtt://broker:0/lab", "mqtt://broker:65536/lab", "mqtt://broker:x/lab",
                          "mqtt://u:pw@broker/lab", "mqtt://broker/lab/#", "mqtt://broker/a+b"}) {
    std::string why;
    EXPECT_FALSE(ParseBrokerUrl(bad, why)) << bad;
    EXPECT_FALSE(why.empty()) << bad;
  }
  EXPECT_TRUE(BenchNameUsable("bench-7 炉"));
  for (const char* bad : {"", "a/b", "a#", "a+", "a\tb"}) EXPECT_FALSE(BenchNameUsable(bad)) << bad;
}

TEST(PublishSettings, TheFileKeepsWhatIsWrittenAndIgnoresWhatMakesNoSense) {
  test::TempFolder folder;
  const std::string path = (folder.Path() / "publish.conf").string();
  EXPECT_EQ(ReadPublishSettings(path), PublishSettings()) << "no file: the defaults";
  PublishSettings settings;
  settings.enabled = true;
  settings.url = "mqtts://ops@broker:8884/lab";
  settings.bench = "炉 3";
  settings.caFile = "/etc/lab/ca.pem";
  settings.passwordFile = "/home/ops/.mqtt";
  settings.mqttVersion = 5;
  settings.spoolLimitMb = 64;
  WritePublishSettings(path, settings);
  EXPECT_EQ(ReadPublishSettings(path), settings);

  folder.Write("publish.conf", "garbage\n\x01\x02=\nspool_mb = -4\nmqtt_version = 7\nbench = b\n");
  PublishSettings expected;
  expected.bench = "b";
  EXPECT_EQ(ReadPublishSettings(path), expected);
}

TEST(PublishSettings, ThePasswordComesFromItsFileOrTheEnvironment) {
  test::TempFolder folder;
  PublishSettings settings;
  std::string why;
  const test::ScopedEnvironment variable(kPasswordVariable, "from-env");
  EXPECT_EQ(PublishPassword(settings, why), "from-env");
  settings.passwordFile = folder.Write("pw", "from-file\r\nsecond line\n").string();
  EXPECT_EQ(PublishPassword(settings, why), "from-file");
  settings.passwordFile = (folder.Path() / "missing").string();
  EXPECT_FALSE(PublishPassword(settings, why));
  EXPECT_NE(why.find("missing"), std::string::npos);
}

// A row, its run's messages and comments that need escaping, as JSON a
// parser takes; the values of every mode are checked against the log by
// the publisher's own test.
TEST(RowMessages, RowsAndRunsAreJsonWithTheLogsNumberingAndLocalTime) {
  struct Tokyo {
    std::unique_ptr<test::ScopedEnvironment> zone =
        std::make_unique<test::ScopedEnvironment>("TZ", "Asia/Tokyo");
    Tokyo() { tzset(); }
    ~Tokyo() {
      zone.reset();
      tzset();
    }
  } tokyo;
  JournalHead head;
  head.comment = "炉\t\"1\"\\";
  head.devices = {{2, "温度 \"A\""}, {5, "\x1b"}};
  const RunFacts run{"20261125-100000-000", 1764032400000, 10.0, &head};
  using nlohmann::json;

  head.viewCh = 1;
  json row = json::parse(RowMessage(run, 7, 12.5, std::string("\x05\x80", 2)));
  EXPECT_EQ(row["seq"], 7);
  EXPECT_EQ(row["time"], "2025-11-25T10:00:00.012+09:00");
  EXPECT_EQ(row["channels"][0]["ch"], 2);
  EXPECT_EQ(row["channels"][0]["comment"], "温度 \"A\"");
  EXPECT_EQ(row["channels"][0]["bits"], json::parse("[1,0,1,0,0,0,0,0]"));
  EXPECT_EQ(row["channels"][1]["bits"], json::parse("[0,0,0,0,0,0,0,1]"));
  EXPECT_EQ(row["channels"][1]["comment"], "\x1b");

  const json start = json::parse(RunStartMessage(run));
  EXPECT_EQ(start["comment"], head.comment);
  EXPECT_EQ(start["state"], "running");
  const json end = json::parse(RunEndMessage(run, 42, run.startUnixMs + 61000));
  EXPECT_EQ(end["rows"], 42);
  EXPECT_EQ(end["end"], "2025-11-25T10:01:01.000+09:00");
  EXPECT_EQ(RunId(run.startUnixMs + 1), "20251125-100000-001");
}

}  // namespace
}  // namespace tavelin

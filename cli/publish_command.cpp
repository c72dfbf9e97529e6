#include "cli/publish_command.h"

#include <unistd.h>

#include <iostream>

namespace tavelin::cli {
namespace {

// How long the end of a run waits for its last rows to reach the broker:
// long while it answers, briefly when it is away.
constexpr double kFinishSeconds = 30.0;
constexpr double kPatienceSeconds = 2.0;

void SayOnTerminal(const char* command, const std::string& what) {
  // One write a message: the publisher's thread speaks beside the progress line.
  const std::string line = std::string(isatty(STDERR_FILENO) != 0 ? "\r\x1b[K" : "") +
                           "tavelin-cli " + command + ": " + what + "\n";
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

std::optional<PublishTarget> ConsolePublishTarget(const PublishOptions& options,
                                                  const char* command) {
  PublishSettings settings = ReadPublishSettings(PublishSettingsPath());
  if (options.url) settings.url = *options.url;
  if (options.bench) settings.bench = *options.bench;
  if (options.caFile) settings.caFile = *options.caFile;
  if (options.passwordFile) settings.passwordFile = *options.passwordFile;
  if (options.mqttVersion) settings.mqttVersion = *options.mqttVersion;
  // A drain sends what the spool says where it says; the bench only names the link.
  if (options.drain && settings.bench.empty()) settings.bench = "drain";
  std::string why;
  auto target = TargetOf(settings, why);
  if (!target) std::cerr << "tavelin-cli " << command << ": 配信: " << why << "\n";
  return target;
}

std::unique_ptr<Publisher> StartConsolePublisher(const PublishTarget& target, const char* command) {
  return std::make_unique<Publisher>(
      target, [command](const std::string& what) { SayOnTerminal(command, what); });
}

void FinishConsolePublisher(Publisher& publisher, const char* command) {
  const int64_t left = publisher.Finish(kFinishSeconds, kPatienceSeconds);
  if (left > 0) {
    std::cerr << "tavelin-cli " << command << ": 配信: 送れなかった " << left
              << " 行を保留しました (tavelin-cli publish --drain か次の計測で送ります)\n";
  }
}

int RunPublish(const PublishOptions& options) {
  const auto target = ConsolePublishTarget(options, "publish");
  if (!target) return 2;
  Publisher publisher(*target, [](const std::string& what) { SayOnTerminal("publish", what); });
  const int64_t left = publisher.Finish(options.waitSeconds, options.waitSeconds);
  if (left > 0) {
    std::cerr << "tavelin-cli publish: " << left << " 行が送れずに残りました\n";
    return 1;
  }
  std::cerr << "tavelin-cli publish: 保留した行はありません\n";
  return 0;
}

}  // namespace tavelin::cli

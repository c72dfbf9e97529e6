// A spool left in the spool folder, and publish.conf: whatever their bytes,
// the spool's messages stay inside it and end where its lines end, and the
// settings come out usable or refused with a reason.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "publishing/publish_settings.h"
#include "publishing/spool.h"

namespace {

[[noreturn]] void Fail() {
  __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static const std::string path = "/tmp/fuzz-spool-" + std::to_string(getpid()) + ".spool";
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  if (auto spool = tavelin::Spool::OpenLeft(path)) {
    tavelin::SpooledMessage message;
    int64_t lines = 0;
    for (uint64_t at = spool->Acked(); spool->Read(at, message); at = message.next) {
      if (message.next <= at || message.next > spool->End()) Fail();
      if (message.topic.find('\n') != std::string_view::npos) Fail();
      ++lines;
    }
    if (lines > spool->Lines() - spool->AckedLines()) Fail();
  }
  const tavelin::PublishSettings settings = tavelin::ReadPublishSettings(path);
  std::string why;
  if (tavelin::ParseBrokerUrl(bytes, why)) {
    if (!why.empty()) Fail();
  } else if (why.empty()) {
    Fail();
  }
  if (!tavelin::PublishSettingsProblem(settings) && !tavelin::BenchNameUsable(settings.bench))
    Fail();
  return 0;
}

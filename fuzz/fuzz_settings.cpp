// One fuzz target per settings file, chosen at build time by FUZZ_FILE:
// whatever the bytes, the reader returns a result and never crashes, and a
// record it accepts reads back the same after it is written again.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "settings/FileSaveSystem.h"

namespace {

using namespace tavelin;
using namespace tavelin::FileSaveSystem;

[[noreturn]] void Fail() {
  __builtin_trap();
}

void CheckResult(int32_t result) {
  if (result != kRead && result != kOtherVersion && result != kReadWithError) Fail();
}

template <typename Target, typename Apply, typename Record>
void ReadWriteRead(std::string_view bytes, Apply apply, Record record) {
  Target first = Target();
  const int32_t result = apply(bytes, first);
  CheckResult(result);
  if (result != kRead) return;
  bool failed = false;
  const std::string written = record(first, failed);
  Target second = Target();
  if (apply(written, second) != kRead) Fail();
  if (record(second, failed) != written) Fail();
}

struct Probe : KVR_USB_Probe {
  Probe() : KVR_USB_Probe(UsbProbeEntryPoints{}) {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
#if FUZZ_FILE == 1
  ReadWriteRead<ELM327_Info>(bytes, ApplyConfigRecord, ConfigRecord);
#elif FUZZ_FILE == 2
  ReadWriteRead<ELM327_Info>(bytes, ApplyChSetRecord, ChSetRecord);
#else
  ReadWriteRead<Probe>(
      bytes, [](std::string_view b, Probe& p) { return ApplyAnSetRecord(b, p); },
      [](const Probe& p, bool& failed) { return AnSetRecord(p, failed); });
#endif
  return 0;
}

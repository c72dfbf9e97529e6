// A file handed to the trend (opened, dropped, named on the command line):
// whatever its bytes, as csv or as a journal, reading stops at the damage
// and what it keeps is a table: a time for each row, a value for each
// trace in each row.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "trend/log_table.h"

namespace {

[[noreturn]] void Fail() {
  __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static const std::string path = "/tmp/fuzz-log-table-" + std::to_string(getpid()) + ".csv";
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  const tavelin::LogTable table = tavelin::ReadLogFile(path);
  if (table.columns.size() != table.labels.size()) Fail();
  for (const auto& column : table.columns) {
    if (column.size() != table.times.size()) Fail();
  }
  return 0;
}

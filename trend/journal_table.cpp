#include "trend/journal_table.h"

#include <fstream>
#include <iterator>

#include "logging/journal_format.h"

namespace tavelin {
namespace {

std::string Numbered(const std::string& head, const char* prefix, int number) {
  std::string text = head;
  text += prefix;
  text += std::to_string(number);
  return text;
}

}  // namespace

bool LooksLikeJournal(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  char magic[4] = {};
  in.read(magic, sizeof magic);
  return in.gcount() == 4 && std::string(magic, 4) == "TAVJ";
}

LogTable ReadJournalTable(const std::string& path) {
  LogTable table;
  std::ifstream in(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const JournalContents journal = ReadJournal(bytes);
  if (!journal.readable) {
    table.problem = "ジャーナルとして読めません: " + journal.damage;
    return table;
  }
  const JournalHead& head = journal.head;
  const bool bits = head.viewCh == 1 || head.viewCh == 2;
  const bool analog = head.viewCh == 4;
  for (const JournalDevice& d : head.devices) {
    if (bits) {
      for (int b = 0; b < 8; ++b) table.labels.push_back(Numbered(d.comment, " b", b));
    } else if (analog) {
      for (int p = 0; p < head.maxInput; ++p)
        table.labels.push_back(Numbered(d.comment, " 入力", p + 1));
    } else {
      table.labels.push_back(d.comment);
    }
  }
  table.columns.assign(table.labels.size(), {});
  // The rows back into the device tables, as a recovery puts them, and read out.
  static const UsbIoEntryPoints noUsbIo{};
  static const UsbProbeEntryPoints noProbe{};
  USB_IO_IF io(noUsbIo);
  KVR_USB_Probe probes(noProbe);
  for (const JournalRow& row : journal.rows) {
    UnpackRow(head, row.values, io, probes);
    std::size_t column = 0;
    for (const JournalDevice& d : head.devices) {
      if (bits) {
        for (int b = 0; b < 8; ++b) {
          table.columns[column++].push_back(
              static_cast<float>(io.USBIO_J1_MakeData_Bit(static_cast<int16_t>(d.index * 8 + b))));
        }
      } else if (analog) {
        for (int p = 0; p < head.maxInput; ++p) {
          table.columns[column++].push_back(static_cast<float>(
              probes.USBProbe_Value(static_cast<int16_t>(d.index * head.maxInput + p))));
        }
      } else {
        table.columns[column++].push_back(static_cast<float>(io.USBIO_Value(d.index)));
      }
    }
    table.times.push_back(row.time);
  }
  if (!journal.damage.empty())
    table.problem = "ジャーナルの途中が壊れています (ここまでを表示します)";
  return table;
}

}  // namespace tavelin

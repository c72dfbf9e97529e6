// The journal reader: whatever the bytes, it returns what it could read and
// never crashes; every row it gives fits the tables of its head, and what it
// read, written again, reads back the same and whole.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "logging/journal_format.h"

namespace {

using namespace tavelin;

[[noreturn]] void Fail() {
  __builtin_trap();
}

bool SameMarks(const JournalContents& a, const JournalContents& b) {
  if (a.marks.size() != b.marks.size()) return false;
  for (std::size_t i = 0; i < a.marks.size(); ++i) {
    if (a.marks[i].rowsCovered != b.marks[i].rowsCovered ||
        a.marks[i].overwrote != b.marks[i].overwrote || a.marks[i].path != b.marks[i].path) {
      return false;
    }
  }
  return true;
}

// A name note as written again: one of version 1 (no rows, no file) has no
// form in this version and is left out.
std::optional<JournalTakenName> Rewritable(const std::optional<JournalTakenName>& taken) {
  if (!taken || taken->rowsCovered < 0) return std::nullopt;
  return taken;
}

bool SameTaken(const std::optional<JournalTakenName>& a, const std::optional<JournalTakenName>& b) {
  if (!a || !b) return !a && !b;
  return a->path == b->path && a->rowsCovered == b->rowsCovered && a->placeholder == b->placeholder;
}

bool SameRows(const JournalContents& a, const JournalContents& b) {
  if (a.rows.size() != b.rows.size()) return false;
  for (std::size_t i = 0; i < a.rows.size(); ++i) {
    const bool sameTime = a.rows[i].time == b.rows[i].time ||
                          (a.rows[i].time != a.rows[i].time && b.rows[i].time != b.rows[i].time);
    if (!sameTime || a.rows[i].values != b.rows[i].values) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const JournalContents contents = ReadJournal(bytes);
  if (!contents.readable) {
    if (contents.damage.empty() || !contents.rows.empty()) Fail();
    return 0;
  }
  USB_IO_IF usbIo;
  KVR_USB_Probe usbProbe;
  for (const JournalRow& row : contents.rows) {
    if (row.values.size() != contents.head.ValueBytes()) Fail();
    UnpackRow(contents.head, row.values, usbIo, usbProbe);  // an index outside throws: a crash here
  }

  std::string again = EncodeHead(contents.head);
  for (const JournalMark& mark : contents.marks) AppendMark(again, mark);
  for (const JournalRow& row : contents.rows) AppendRow(again, row.time, row.values);
  const auto taken = Rewritable(contents.unfinished);
  if (taken) AppendTakenName(again, *taken);
  const JournalContents reread = ReadJournal(again);
  if (!reread.readable || !reread.damage.empty() || !SameRows(contents, reread) ||
      !SameMarks(contents, reread) || !SameTaken(reread.unfinished, taken) ||
      EncodeHead(reread.head) != EncodeHead(contents.head)) {
    Fail();
  }
  return 0;
}

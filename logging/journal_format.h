#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "platform/file_system.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// The journal of a logged run: what a writer needs to make the run's logs
// again, and the run's rows as they come, in a compact binary form.
//
//   "TAVJ" version(u16) headLength(u32) head crc(u32)
//   then records, each checked on its own:
//   'R' time(f64) values crc   a row
//   'N' length(u32) taken crc  a log file's name taken, its write begun
//   'F' length(u32) mark crc   a log file written: the oldest rows are in files
//
// Numbers are little-endian; texts are a u32 byte count and UTF-8 bytes;
// each crc is the CRC-32C of the record's bytes before it.
//
// Rows are counted from the run's first. A file note and a name note say
// how many of the run's rows are in files once that file is in place. A
// journal rewritten after a file starts with the file notes so far, and
// its first row is the one after the rows they cover; notes written after
// rows (by a recovery) cover rows before them.
//
// Version 1 wrote a name note as the bare path: it says nothing of the rows
// nor of the file the name was taken with.

inline constexpr uint16_t kJournalVersion = 2;

// A device of the run (a digital channel, or an analog probe) with its comment.
struct JournalDevice {
  int16_t index = 0;
  std::string comment;
};

struct JournalHead {
  int32_t viewCh = 1;         // the kind of rows: 1, 2 bits; 3 values; 4 analog pins
  int32_t logSaveFormat = 2;  // 1 .xls, 2 .csv
  int32_t pathMode = 0;       // t_LogSaveFilePath_mode
  std::string savePath;       // t_LogSaveFilePath
  int32_t subFolder = 0;      // t_LogSave_subFolder
  std::string folderName;     // the run's sub folder, or empty
  std::string programFolder;  // where the logs of mode 0 went
  std::string comment;        // t_LogComment
  std::string title, notice, homepage;
  int64_t startSeconds = 0;  // the run's start, seconds since 1970
  int32_t findDevice = 0;    // the devices found, as the log headers count them
  int32_t maxInput = 6;
  std::vector<JournalDevice> devices;  // those present, in rising order

  // Bytes of one row's values: a byte of eight bits per module, a double per
  // digital value, a double per analog pin.
  std::size_t ValueBytes() const;
};

// A log file the run wrote, and the rows of the journal it holds so far.
struct JournalMark {
  int64_t rowsCovered = 0;
  bool overwrote = false;
  std::string path;
};

// A log file's name taken: the rows of the run in files once it is in
// place, and the file the name was taken with (an empty file, or the file
// written over). A file at the path that is another one is the log, put in
// place by its rename.
struct JournalTakenName {
  std::string path;
  int64_t rowsCovered = -1;                 // -1: unknown (version 1)
  std::optional<FileIdentity> placeholder;  // none: unknown
};

// What a run's journal head says, from the store and the device layers at
// the run's start.
JournalHead HeadOfRun(const ELM327_Info& device, const USB_IO_IF& usbIo,
                      const KVR_USB_Probe* usbProbe, const std::string& folderName,
                      const std::string& programFolder);

// The values of one row, from the tables the log writer reads.
void PackRow(const JournalHead& head, const USB_IO_IF& usbIo, const KVR_USB_Probe* usbProbe,
             std::string& values);
// The same values back into the tables.
void UnpackRow(const JournalHead& head, std::string_view values, USB_IO_IF& usbIo,
               KVR_USB_Probe& usbProbe);

std::string EncodeHead(const JournalHead& head);
void AppendRow(std::string& out, double time, std::string_view values);
void AppendMark(std::string& out, const JournalMark& mark);
void AppendTakenName(std::string& out, const JournalTakenName& taken);

struct JournalRow {
  int64_t index;  // among the run's rows, from 0
  double time;
  std::string_view values;  // into the bytes read
};

// A journal as read: every whole record up to the first damage.
struct JournalContents {
  bool readable = false;  // the head was whole and of this version
  JournalHead head;
  std::vector<JournalRow> rows;
  std::vector<JournalMark> marks;
  // A log name taken after the last file written: its write was under way,
  // or its file was in place and not yet noted.
  std::optional<JournalTakenName> unfinished;
  std::string damage;  // what was wrong, where; empty for a whole journal

  // The run's rows the file notes say are in files.
  int64_t RowsInFiles() const;
};

// Never throws, whatever the bytes; the rows point into `bytes`.
JournalContents ReadJournal(std::string_view bytes);

}  // namespace tavelin

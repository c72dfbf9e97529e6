#include "logging/journal_recovery.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "logging/Excel_OutputDB.h"
#include "logging/journal_format.h"
#include "logging/run_journal.h"
#include "platform/file_system.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

// A journal opened and locked: nobody else recovers it meanwhile, and a
// running program holds the lock of its own.
class LockedJournal {
 public:
  explicit LockedJournal(const std::string& path)
      : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ >= 0 && ::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
      ::close(fd_);
      fd_ = -1;
    }
  }
  ~LockedJournal() {
    if (fd_ >= 0) ::close(fd_);
  }
  LockedJournal(const LockedJournal&) = delete;
  LockedJournal& operator=(const LockedJournal&) = delete;
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_;
};

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The store and device layers as the run had them, for the log writer.
struct RunAgain {
  ELM327_Info device;
  USB_IO_IF usbIo{UsbIoEntryPoints{}};
  KVR_USB_Probe usbProbe{UsbProbeEntryPoints{}};

  RunAgain(const JournalHead& head, const std::optional<std::string>& folder) {
    device.t_ViewCh = head.viewCh;
    device.t_LogSaveFormat = head.logSaveFormat;
    device.ExcelInstallCheck = 1;  // the workbook writer is always at hand
    device.t_LogSaveFilePath_mode = head.pathMode;
    device.t_LogSaveFilePath = head.savePath;
    device.t_LogSave_subFolder = head.subFolder;
    device.t_LogSave_Enable = 1;
    device.t_LogComment = head.comment;
    device.Application_title = head.title;
    device.Copy_light = head.notice;
    device.Homepage_URL = head.homepage;
    if (folder) {
      device.t_LogSaveFilePath_mode = 2;
      device.t_LogSaveFilePath = *folder;
      device.t_LogSave_subFolder = 0;
    }
    const bool analog = head.viewCh == 4;
    for (const JournalDevice& d : head.devices) {
      if (analog) {
        usbProbe.HidCh(d.index) = 0;
        usbProbe.AN_ch_comment(d.index) = d.comment;
      } else {
        usbIo.HidCh(d.index) = 0;
        device.usbio_comment(d.index) = d.comment;
      }
    }
    usbProbe.max_input = head.maxInput;
    usbProbe.FindDevice = analog ? head.findDevice : 0;
    usbIo.FindDevice = static_cast<int16_t>(analog ? 0 : head.findDevice);
  }
};

// A write cut off in the middle leaves its name taken (an empty file) and
// its hidden temporary file: both go. A file with content there is not ours.
void ClearCutOffWrite(const std::string& name) {
  std::error_code ignored;
  const fs::path path(name);
  if (fs::is_regular_file(path, ignored) && fs::file_size(path, ignored) == 0) {
    fs::remove(path, ignored);
  }
  const std::string temporary = HiddenWritePrefix(name);
  for (const auto& entry : fs::directory_iterator(path.parent_path(), ignored)) {
    if (entry.path().string().rfind(temporary, 0) == 0) fs::remove(entry.path(), ignored);
  }
}

}  // namespace

std::vector<LeftoverJournal> LeftoverJournals(const std::string& folder) {
  std::vector<LeftoverJournal> leftovers;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    const std::string path = entry.path().string();
    if (entry.path().extension() != kJournalSuffix || !entry.is_regular_file(error)) continue;
    const LockedJournal lock(path);
    if (!lock.Held()) continue;  // a running program writes it
    const std::string bytes = ReadAll(path);
    const JournalContents contents = ReadJournal(bytes);
    LeftoverJournal leftover{path,
                             contents.readable,
                             contents.head.startSeconds,
                             static_cast<int64_t>(contents.rows.size()),
                             {},
                             contents.damage};
    for (const JournalMark& mark : contents.marks) leftover.files.push_back(mark.path);
    leftovers.push_back(std::move(leftover));
  }
  std::sort(leftovers.begin(), leftovers.end(),
            [](const LeftoverJournal& a, const LeftoverJournal& b) { return a.path < b.path; });
  return leftovers;
}

Recovery RecoverJournal(const std::string& path, LogEnvironment environment,
                        const std::optional<std::string>& folder) {
  const LockedJournal lock(path);
  if (!lock.Held()) throw FileError("ジャーナルは使用中です: " + path);
  const std::string bytes = ReadAll(path);
  const JournalContents contents = ReadJournal(bytes);
  Recovery recovery{{}, static_cast<int64_t>(contents.rows.size()), contents.damage};
  std::error_code ignored;
  if (!contents.readable) {
    fs::rename(path, path + ".unreadable", ignored);  // kept, out of the way
    return recovery;
  }
  if (!contents.unfinishedName.empty()) ClearCutOffWrite(contents.unfinishedName);
  if (!contents.rows.empty()) {
    const JournalHead& head = contents.head;
    RunAgain run(head, folder);
    environment.programFolder = head.programFolder;
    environment.logWritten = [&recovery](const WrittenLog& log) {
      recovery.files.push_back(log.path);
    };
    Excel_OutputDB log(environment);
    log.Param_ALL_Clear();
    log.objExcel = std::make_shared<ExcelApplication>();
    std::string date, number;
    const std::string folderName = folder ? std::string() : head.folderName;
    const auto write = [&](int32_t Output_ch) {
      log.Excel_DataOutput(Output_ch, &run.usbProbe, run.usbIo, run.device, date, number,
                           folderName);
    };
    log.csv_DB_Initialize(0, &run.usbProbe, run.usbIo, run.device);
    for (const JournalRow& row : contents.rows) {
      UnpackRow(head, row.values, run.usbIo, run.usbProbe);
      if (head.viewCh == 4) {
        log.Excel_AN_DataInput(run.usbProbe, run.usbIo, run.device, row.time);
      } else {
        log.Excel_DataInput(run.usbIo, run.device, row.time);
      }
      log.RollOverWhenFull(write);
    }
    // The run's last file, where rows are left for it.
    if (log.Excel_DB_ArayyCounter > 0) write(log.Excel_DB_ArayyCh == 1 ? 1 : 2);
  }
  fs::remove(path, ignored);
  return recovery;
}

}  // namespace tavelin

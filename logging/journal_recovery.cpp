#include "logging/journal_recovery.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "logging/Excel_OutputDB.h"
#include "logging/journal_format.h"
#include "logging/log_names.h"
#include "logging/run_journal.h"
#include "platform/file_system.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

// A journal opened and locked: nobody else recovers it meanwhile, and a
// running program holds the lock of its own. A journal a running program
// put anew in its place while it was opened is opened again.
class LockedJournal {
 public:
  LockedJournal(const std::string& path, int access) {
    for (int attempt = 0; attempt < 100 && fd_ < 0; ++attempt) {
      fd_ = ::open(path.c_str(), access | O_CLOEXEC);
      if (fd_ < 0) {
        error_ = errno;
        return;
      }
      if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        error_ = EBUSY;
        Drop();
        return;
      }
      struct stat held {
      }, named{};
      const bool same = ::fstat(fd_, &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
                        held.st_ino == named.st_ino && held.st_dev == named.st_dev;
      if (!same) Drop();
    }
  }
  ~LockedJournal() { Drop(); }
  LockedJournal(const LockedJournal&) = delete;
  LockedJournal& operator=(const LockedJournal&) = delete;
  bool Held() const { return fd_ >= 0; }
  int Fd() const { return fd_; }
  int Error() const { return error_; }

  std::string ReadAll() const {
    std::string bytes;
    char block[1 << 16];
    for (off_t at = 0;;) {
      const ssize_t got = ::pread(fd_, block, sizeof block, at);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return bytes;
      bytes.append(block, static_cast<std::size_t>(got));
      at += got;
    }
  }

 private:
  void Drop() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }
  int fd_ = -1;
  int error_ = 0;
};

// The store and device layers as the run had them, for the log writer.
struct RunAgain {
  ELM327_Info device;
  USB_IO_IF usbIo{UsbIoEntryPoints{}};
  KVR_USB_Probe usbProbe{UsbProbeEntryPoints{}};

  RunAgain(const JournalHead& head, const std::optional<std::string>& folder,
           std::optional<int32_t> format) {
    device.t_ViewCh = head.viewCh;
    device.t_LogSaveFormat = format.value_or(head.logSaveFormat);
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

bool AllDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// "SD" yymmddhh "-" number ".xls" or ".csv": a log name of ours.
bool IsLogName(std::string_view name) {
  if (name.size() < 2 + 8 + 1 + 3 + 4 || name.substr(0, 2) != "SD" || name[10] != '-') return false;
  const std::string_view extension = name.substr(name.size() - 4);
  return AllDigits(name.substr(2, 8)) && AllDigits(name.substr(11, name.size() - 15)) &&
         (extension == ".xls" || extension == ".csv");
}

// The folders the journal's notes may name: where the run logged, and
// where this recovery writes. A note that names anything else is not ours.
class OurFolders {
 public:
  OurFolders(const JournalHead& head, const LogEnvironment& environment,
             const std::optional<std::string>& folder) {
    RunAgain run(head, std::nullopt, std::nullopt);
    const std::string base = LogBaseFolder(run.device, environment);
    Add(base);
    if (head.subFolder == 1 && !head.folderName.empty()) Add(JoinPath(base, head.folderName));
    if (folder) Add(*folder);
  }

  // A log of ours in one of the folders.
  bool Holds(const std::string& path) const {
    const fs::path file(path);
    if (!IsLogName(file.filename().string())) return false;
    std::error_code ignored;
    const fs::path parent = fs::weakly_canonical(file.parent_path(), ignored);
    return std::find(folders_.begin(), folders_.end(), parent) != folders_.end();
  }

 private:
  void Add(const std::string& folder) {
    std::error_code ignored;
    if (!folder.empty()) folders_.push_back(fs::weakly_canonical(folder, ignored));
  }
  std::vector<fs::path> folders_;
};

// A write cut off in the middle leaves its name taken (an empty file) and
// its hidden temporary file: both go, where they are ours. A file with
// content there is not the empty one the name was taken with.
void ClearCutOffWrite(const JournalTakenName& taken, const OurFolders& ours) {
  if (!ours.Holds(taken.path)) return;
  std::error_code ignored;
  const fs::path path(taken.path);
  if (fs::is_regular_file(path, ignored) && fs::file_size(path, ignored) == 0) {
    fs::remove(path, ignored);
  }
  const std::string temporary = HiddenWritePrefix(taken.path);
  const std::string hiddenName = fs::path(temporary).filename().string();
  for (const auto& entry : fs::directory_iterator(path.parent_path(), ignored)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(hiddenName, 0) != 0) continue;
    const std::string_view rest = std::string_view(name).substr(hiddenName.size());
    const std::size_t dash = rest.find('-');
    if (dash != std::string_view::npos && AllDigits(rest.substr(0, dash)) &&
        AllDigits(rest.substr(dash + 1))) {
      fs::remove(entry.path(), ignored);
    }
  }
}

// A name taken whose file is in place: the file at the path is another
// than the one the name was taken with.
bool PutInPlace(const JournalTakenName& taken) {
  const auto now = IdentityOf(taken.path);
  return taken.rowsCovered >= 0 && taken.placeholder && now && *now != *taken.placeholder;
}

// What a recovery has done, noted in the journal as the run notes its own
// files, and on disk before it goes on: a recovery cut off goes on where it
// stopped when run again.
class RecoveryNotes {
 public:
  RecoveryNotes(int fd, int64_t rowsInFiles) : fd_(fd), rowsInFiles_(rowsInFiles) {}

  void Taken(const TakenLog& taken) {
    std::string note;
    AppendTakenName(note, {taken.path, rowsInFiles_ + taken.rows, taken.placeholder});
    Append(note);
  }
  void Written(const WrittenLog& log) {
    rowsInFiles_ += log.rowsInFile + log.rowsDiscarded;
    std::string note;
    AppendMark(note, {rowsInFiles_, log.overwrote, log.path});
    Append(note);
  }

 private:
  void Append(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t done = ::write(fd_, bytes.data(), bytes.size());
      if (done < 0 && errno == EINTR) continue;
      if (done <= 0) Fail(done < 0 ? errno : ENOSPC);
      bytes.remove_prefix(static_cast<std::size_t>(done));
    }
    if (::fdatasync(fd_) != 0) Fail(errno);
  }
  [[noreturn]] void Fail(int error) {
    throw FileError(std::string("ジャーナルに書き込めません (") + std::strerror(error) + ")");
  }

  int fd_;
  int64_t rowsInFiles_;
};

// The journals written anew beside `journal`, newest first.
std::vector<fs::path> RewritesOf(const std::string& journal) {
  std::vector<std::pair<int, fs::path>> found;
  std::error_code ignored;
  const fs::path path(journal);
  const std::string prefix = path.filename().string() + kJournalRewriteSuffix;
  for (const auto& entry : fs::directory_iterator(path.parent_path(), ignored)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(prefix, 0) != 0 || !AllDigits(name.substr(prefix.size()))) continue;
    found.emplace_back(std::atoi(name.c_str() + prefix.size()), entry.path());
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a > b; });
  std::vector<fs::path> paths;
  for (auto& [number, rewrite] : found) paths.push_back(std::move(rewrite));
  return paths;
}

void RemoveRewrites(const std::string& journal) {
  std::error_code ignored;
  for (const fs::path& rewrite : RewritesOf(journal)) fs::remove(rewrite, ignored);
}

int64_t LastRow(const JournalContents& contents) {
  return contents.rows.empty() ? -1 : contents.rows.back().index;
}

// A run that died while its journal, written anew after a file, waited to
// be put in place left the new one beside it, with the rows logged since:
// it is put in place now, as the run would have. One that a power cut left
// with fewer rows than the old journal is dropped.
void FinishRewrite(const std::string& path) {
  const std::vector<fs::path> rewrites = RewritesOf(path);
  if (rewrites.empty()) return;
  const LockedJournal journal(path, O_RDONLY);
  if (!journal.Held()) return;  // its run is still on
  const std::string bytes = journal.ReadAll();
  const JournalContents old = ReadJournal(bytes);
  for (const fs::path& rewrite : rewrites) {
    const LockedJournal newer(rewrite.string(), O_RDONLY);
    if (!newer.Held()) continue;
    const std::string newBytes = newer.ReadAll();
    const JournalContents contents = ReadJournal(newBytes);
    if (contents.readable && contents.marks.size() >= old.marks.size() &&
        LastRow(contents) >= LastRow(old)) {
      std::error_code ignored;
      fs::rename(rewrite, path, ignored);
      SyncFolder(fs::path(path).parent_path().string());
      break;
    }
  }
  RemoveRewrites(path);
}

void RemoveJournal(const std::string& path) {
  std::error_code ignored;
  fs::remove(path, ignored);
  RemoveRewrites(path);
  SyncFolder(fs::path(path).parent_path().string());
}

}  // namespace

std::string UnwritableFormatText(int32_t format) {
  return "ログの保存形式 " + std::to_string(format) + " は書き出せません (xls は 1、csv は 2 です)";
}

std::vector<LeftoverJournal> LeftoverJournals(const std::string& folder) {
  std::vector<LeftoverJournal> leftovers;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    const std::string path = entry.path().string();
    if (entry.path().extension() != kJournalSuffix || !entry.is_regular_file(error)) continue;
    FinishRewrite(path);
    const LockedJournal lock(path, O_RDONLY);
    if (!lock.Held()) continue;  // a running program writes it
    const std::string bytes = lock.ReadAll();
    const JournalContents contents = ReadJournal(bytes);
    int64_t rowsInFiles = contents.RowsInFiles();
    std::vector<std::string> files;
    for (const JournalMark& mark : contents.marks) files.push_back(mark.path);
    if (contents.unfinished && PutInPlace(*contents.unfinished)) {
      rowsInFiles = std::max(rowsInFiles, contents.unfinished->rowsCovered);
      files.push_back(contents.unfinished->path);
    }
    const auto unfiled =
        std::count_if(contents.rows.begin(), contents.rows.end(),
                      [&](const JournalRow& row) { return row.index >= rowsInFiles; });
    leftovers.push_back({path, contents.readable, contents.head.startSeconds,
                         static_cast<int64_t>(unfiled), std::move(files), contents.damage});
  }
  std::sort(leftovers.begin(), leftovers.end(),
            [](const LeftoverJournal& a, const LeftoverJournal& b) { return a.path < b.path; });
  return leftovers;
}

Recovery RecoverJournal(const std::string& path, LogEnvironment environment,
                        const std::optional<std::string>& folder, std::optional<int32_t> format) {
  const LockedJournal lock(path, O_RDWR | O_APPEND);
  if (!lock.Held()) {
    if (lock.Error() == EBUSY) throw FileError("ジャーナルは使用中です: " + path);
    throw FileError("ジャーナルを開けません: " + path + " (" + std::strerror(lock.Error()) + ")");
  }
  const std::string bytes = lock.ReadAll();
  const JournalContents contents = ReadJournal(bytes);
  Recovery recovery{{}, 0, contents.damage};
  if (!contents.readable) {
    std::error_code ignored;
    fs::rename(path, path + ".unreadable", ignored);  // kept, out of the way
    return recovery;
  }
  const JournalHead& head = contents.head;
  environment.programFolder = head.programFolder;
  RecoveryNotes notes(lock.Fd(), contents.RowsInFiles());
  int64_t rowsInFiles = contents.RowsInFiles();
  if (const auto& taken = contents.unfinished) {
    if (PutInPlace(*taken)) {
      // The run's file is whole: its rows are not written again.
      notes.Written({taken->path, false, taken->rowsCovered - rowsInFiles, 0});
      rowsInFiles = taken->rowsCovered;
    } else {
      ClearCutOffWrite(*taken, OurFolders(head, environment, folder));
    }
  }
  const auto first = std::find_if(contents.rows.begin(), contents.rows.end(),
                                  [&](const JournalRow& row) { return row.index >= rowsInFiles; });
  if (first != contents.rows.end()) {
    RunAgain run(head, folder, format);
    if (run.device.t_LogSaveFormat != 1 && run.device.t_LogSaveFormat != 2) {
      throw FileError(UnwritableFormatText(run.device.t_LogSaveFormat) +
                      "。tavelin-cli recover --format csv または xls で書き出せます");
    }
    environment.nameTaken = [&notes](const TakenLog& taken) { notes.Taken(taken); };
    environment.logWritten = [&recovery, &notes](const WrittenLog& log) {
      notes.Written(log);
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
    for (auto row = first; row != contents.rows.end(); ++row) {
      UnpackRow(head, row->values, run.usbIo, run.usbProbe);
      if (head.viewCh == 4) {
        log.Excel_AN_DataInput(run.usbProbe, run.usbIo, run.device, row->time);
      } else {
        log.Excel_DataInput(run.usbIo, run.device, row->time);
      }
      log.RollOverWhenFull(write);
    }
    // The run's last file, where rows are left for it.
    if (log.Excel_DB_ArayyCounter > 0) write(log.Excel_DB_ArayyCh == 1 ? 1 : 2);
    log.CollectFiles();
    recovery.rows = log.RowsLogged();
  }
  RemoveJournal(path);
  return recovery;
}

}  // namespace tavelin

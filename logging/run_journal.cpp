#include "logging/run_journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>

namespace tavelin {
namespace {

// A name that sorts by the run's start and stays apart from other runs',
// also from a run of the same program that started in the same second.
std::string JournalName(const JournalHead& head, int attempt) {
  const std::time_t start = static_cast<std::time_t>(head.startSeconds);
  std::tm parts{};
  localtime_r(&start, &parts);
  char stamp[32];
  std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &parts);
  std::string name(stamp);
  name.append("-").append(std::to_string(::getpid()));
  if (attempt > 0) name.append("-").append(std::to_string(attempt));
  return name.append(kJournalSuffix);
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t done = ::write(fd, bytes.data(), bytes.size());
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(done));
  }
  return true;
}

// A journal file made only where none is, locked for the run's life.
int MakeLockedFile(const std::string& path, int flags) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0600);
  if (fd >= 0) ::flock(fd, LOCK_EX | LOCK_NB);
  return fd;
}

std::string FolderOf(const std::string& path) {
  return std::filesystem::path(path).parent_path().string();
}

}  // namespace

std::unique_ptr<RunJournal> RunJournal::Start(const std::string& folder, const JournalHead& head,
                                              std::string& why) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) {
    why = folder + ": " + error.message();
    return nullptr;
  }
  std::string path;
  int fd = -1;
  for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
    path = folder + "/" + JournalName(head, attempt);
    fd = MakeLockedFile(path, O_EXCL);
    if (fd < 0 && errno != EEXIST) break;
  }
  if (fd < 0) {
    why = path + ": " + std::strerror(errno);
    return nullptr;
  }
  std::string bytes = EncodeHead(head);
  if (!WriteAll(fd, bytes) || ::fdatasync(fd) != 0 || !SyncFolder(folder)) {
    why = path + ": " + std::strerror(errno);
    ::close(fd);
    ::unlink(path.c_str());
    return nullptr;
  }
  return std::unique_ptr<RunJournal>(new RunJournal(path, fd, head, std::move(bytes)));
}

RunJournal::RunJournal(std::string path, int fd, JournalHead head, std::string headBytes)
    : path_(std::move(path)),
      fd_(fd),
      head_(std::move(head)),
      headBytes_(std::move(headBytes)),
      rowBytes_(1 + 8 + head_.ValueBytes() + 4) {
  unfiled_.reserve(1 << 16);
}

RunJournal::~RunJournal() {
  if (fd_ >= 0) Write();
  disk_.WaitIdle();
  if (fd_ < 0) return;
  if (unsynced_ && !failed_) ::fdatasync(fd_);
  ::close(fd_);
}

void RunJournal::Refused(const char* what) {
  if (failed_) return;
  failed_ = true;
  std::cerr << "tavelin: ジャーナル " << path_ << " " << what << " (" << std::strerror(errno)
            << ")。記録はジャーナルなしで続けます\n";
}

void RunJournal::AddRow(double time, std::string_view values) {
  AppendRow(unfiled_, time, values);
}

void RunJournal::Flush(double nowMs) {
  if (written_ < unfiled_.size() && nowMs - lastWriteMs_ >= kWriteEveryMs) {
    Write();
    lastWriteMs_ = nowMs;
  }
  if (unsynced_ && nowMs - lastSyncMs_ >= kSyncEveryMs) {
    SyncInBackground();
    lastSyncMs_ = nowMs;
  }
}

void RunJournal::NoteName(const TakenLog& taken) {
  if (failed_ || fd_ < 0) return;
  const int64_t rows = std::min<int64_t>(taken.rows, UnfiledRows());
  AppendTakenName(pending_, {taken.path, filedRows_ + rows, taken.placeholder});
  Write();
  // Before the file can be in place: a power cut must not leave the file
  // without the note that its rows are in it.
  if (!failed_ && ::fdatasync(fd_) != 0) Refused("をディスクに書き込めません");
  unsynced_ = false;
}

void RunJournal::NoteFile(const WrittenLog& log) {
  if (failed_ || fd_ < 0) return;
  const std::size_t inFile = static_cast<std::size_t>(log.rowsInFile + log.rowsDiscarded);
  const std::size_t cut = std::min(inFile * rowBytes_, unfiled_.size());
  filedRows_ += static_cast<int64_t>(cut / rowBytes_);
  AppendMark(marks_, {filedRows_, log.overwrote, log.path});
  unfiled_.erase(0, cut);
  pending_.clear();  // the name of this file, now noted as written
  Rewrite();
}

// The journal anew: its head, the file notes, the rows no file holds. It
// goes to a file of its own that replaces the journal once it is on disk,
// so that a crash at any moment leaves one whole journal; rows logged
// meanwhile go to the new file. The old file, locked, stays open until
// then, so that no recovery takes it for a leftover.
void RunJournal::Rewrite() {
  const std::string temporary = path_ + kJournalRewriteSuffix + std::to_string(++rewrites_);
  const int fd = MakeLockedFile(temporary, O_TRUNC);
  if (fd < 0) {
    Refused("を書き直せません");
    return;
  }
  if (!WriteAll(fd, headBytes_) || !WriteAll(fd, marks_) || !WriteAll(fd, unfiled_)) {
    Refused("を書き直せません");
    ::close(fd);
    ::unlink(temporary.c_str());
    return;
  }
  const int old = fd_;
  fd_ = fd;
  written_ = unfiled_.size();
  unsynced_ = false;
  disk_.Post([fd, old, temporary, path = path_] {
    if (::fdatasync(fd) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0 ||
        !SyncFolder(FolderOf(path))) {
      std::cerr << "tavelin: 書き直したジャーナルを " << path << " に置けません ("
                << std::strerror(errno) << ")\n";
    }
    ::close(old);
  });
}

// The rows not yet in the file, then the name notes: in the order they came.
void RunJournal::Write() {
  if (failed_ || fd_ < 0) return;
  const std::string_view rows = std::string_view(unfiled_).substr(written_);
  if (rows.empty() && pending_.empty()) return;
  if (!WriteAll(fd_, rows) || !WriteAll(fd_, pending_)) Refused("にこれ以上書き込めません");
  written_ = unfiled_.size();
  pending_.clear();
  unsynced_ = true;
}

void RunJournal::SyncInBackground() {
  if (!unsynced_ || failed_ || fd_ < 0) return;
  unsynced_ = false;
  if (syncQueued_.exchange(true)) return;  // the one queued syncs these rows too
  disk_.Post([this, fd = fd_] {
    syncQueued_ = false;
    ::fdatasync(fd);
  });
}

int64_t RunJournal::Finish() {
  if (fd_ < 0) return 0;
  const int64_t kept = UnfiledRows();
  if (kept > 0) return kept;  // the destructor writes and syncs them
  disk_.WaitIdle();
  ::close(fd_);
  fd_ = -1;
  ::unlink(path_.c_str());
  SyncFolder(FolderOf(path_));
  return 0;
}

}  // namespace tavelin

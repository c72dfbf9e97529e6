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

}  // namespace

std::unique_ptr<RunJournal> RunJournal::Start(const std::string& folder, const JournalHead& head,
                                              std::string& why) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  std::string path;
  int fd = -1;
  for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
    path = folder + "/" + JournalName(head, attempt);
    fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0 && errno != EEXIST) break;
  }
  if (fd < 0) {
    why = path + ": " + std::strerror(errno);
    return nullptr;
  }
  ::flock(fd, LOCK_EX | LOCK_NB);  // ours while the run lives
  const std::string bytes = EncodeHead(head);
  if (!WriteAll(fd, bytes) || ::fdatasync(fd) != 0) {
    why = path + ": " + std::strerror(errno);
    ::close(fd);
    ::unlink(path.c_str());
    return nullptr;
  }
  return std::unique_ptr<RunJournal>(new RunJournal(path, fd, head, bytes.size()));
}

RunJournal::RunJournal(std::string path, int fd, JournalHead head, std::size_t headBytes)
    : path_(std::move(path)),
      fd_(fd),
      head_(std::move(head)),
      headBytes_(headBytes),
      rowBytes_(1 + 8 + head_.ValueBytes() + 4),
      syncer_([this] { SyncLoop(); }) {
  unfiled_.reserve(1 << 16);
}

RunJournal::~RunJournal() {
  if (fd_ >= 0) Write();
  {
    const std::lock_guard lock(syncMutex_);
    stopSyncing_ = true;
  }
  syncWanted_.notify_one();
  syncer_.join();
  if (fd_ < 0) return;
  if (unsynced_ && !failed_) ::fdatasync(fd_);
  ::close(fd_);
}

void RunJournal::SyncLoop() {
  std::unique_lock lock(syncMutex_);
  for (;;) {
    syncWanted_.wait(lock, [this] { return syncRequested_ || stopSyncing_; });
    if (stopSyncing_) return;
    syncRequested_ = false;
    syncing_ = true;
    const int fd = fd_;
    lock.unlock();
    ::fdatasync(fd);
    lock.lock();
    syncing_ = false;
    syncDone_.notify_all();
  }
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

void RunJournal::NoteFile(const WrittenLog& log) {
  if (failed_ || fd_ < 0) return;
  const std::size_t inFile = static_cast<std::size_t>(log.rowsInFile + log.rowsDiscarded);
  const std::size_t cut = std::min(inFile * rowBytes_, unfiled_.size());
  filedRows_ += static_cast<int64_t>(cut / rowBytes_);
  AppendMark(marks_, {filedRows_, log.overwrote, log.path});
  unfiled_.erase(0, cut);
  pending_.clear();  // the name of this file, now noted as written
  WaitForSync();     // no sync of the old contents runs on while they are cut
  if (::ftruncate(fd_, static_cast<off_t>(headBytes_)) != 0 ||
      ::lseek(fd_, static_cast<off_t>(headBytes_), SEEK_SET) < 0) {
    failed_ = true;
    return;
  }
  written_ = 0;
  pending_ = marks_;
  if (!WriteAll(fd_, pending_)) failed_ = true;
  pending_.clear();
  Write();
  SyncInBackground();
}

void RunJournal::NoteName(const std::string& path) {
  AppendTakenName(pending_, path);
  Write();
}

// The rows not yet in the file, then the name notes: in the order they came.
void RunJournal::Write() {
  if (failed_ || fd_ < 0) return;
  const std::string_view rows = std::string_view(unfiled_).substr(written_);
  if (rows.empty() && pending_.empty()) return;
  if (!WriteAll(fd_, rows) || !WriteAll(fd_, pending_)) {
    failed_ = true;
    std::cerr << "tavelin: the run's journal " << path_ << " takes no more rows ("
              << std::strerror(errno) << "); the run goes on without it\n";
  }
  written_ = unfiled_.size();
  pending_.clear();
  unsynced_ = true;
}

void RunJournal::SyncInBackground() {
  if (!unsynced_ || failed_ || fd_ < 0) return;
  unsynced_ = false;
  {
    const std::lock_guard lock(syncMutex_);
    syncRequested_ = true;
  }
  syncWanted_.notify_one();
}

void RunJournal::WaitForSync() {
  std::unique_lock lock(syncMutex_);
  syncDone_.wait(lock, [this] { return !syncing_ && !syncRequested_; });
}

void RunJournal::Finish() {
  if (fd_ < 0) return;
  WaitForSync();
  const std::lock_guard lock(syncMutex_);  // the syncer reads fd_
  ::close(fd_);
  fd_ = -1;
  ::unlink(path_.c_str());
}

}  // namespace tavelin

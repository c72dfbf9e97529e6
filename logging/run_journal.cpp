#include "logging/run_journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

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
  std::string name = std::string(stamp) + "-" + std::to_string(::getpid());
  if (attempt > 0) name += "-" + std::to_string(attempt);
  return name + kJournalSuffix;
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
    : path_(std::move(path)), fd_(fd), head_(std::move(head)), headBytes_(headBytes) {
  pending_.reserve(1 << 16);
}

RunJournal::~RunJournal() {
  if (fd_ < 0) return;
  Write();
  Sync();
  ::close(fd_);
}

void RunJournal::AddRow(double time, std::string_view values) {
  AppendRow(pending_, time, values);
  ++rows_;
}

void RunJournal::Flush(double nowMs) {
  if (!pending_.empty() && nowMs - lastWriteMs_ >= kWriteEveryMs) {
    Write();
    lastWriteMs_ = nowMs;
  }
  if (unsynced_ && nowMs - lastSyncMs_ >= kSyncEveryMs) {
    Sync();
    lastSyncMs_ = nowMs;
  }
}

// The file holds every row since the last one (a csv file at a rollover
// leaves them out, as the run must): the journal is cut back to its head and
// its file notes, this one added.
void RunJournal::NoteFile(const WrittenLog& log) {
  if (failed_ || fd_ < 0) return;
  AppendMark(marks_, {rows_, log.overwrote, log.path});
  pending_.clear();
  if (::ftruncate(fd_, static_cast<off_t>(headBytes_)) != 0 ||
      ::lseek(fd_, static_cast<off_t>(headBytes_), SEEK_SET) < 0) {
    failed_ = true;
    return;
  }
  pending_ = marks_;
  Write();
  Sync();
}

void RunJournal::NoteName(const std::string& path) {
  AppendTakenName(pending_, path);
  Write();
}

void RunJournal::Write() {
  if (pending_.empty() || failed_ || fd_ < 0) return;
  if (!WriteAll(fd_, pending_)) {
    failed_ = true;
    std::cerr << "tavelin: the run's journal " << path_ << " takes no more rows ("
              << std::strerror(errno) << "); the run goes on without it\n";
  }
  pending_.clear();
  unsynced_ = true;
}

void RunJournal::Sync() {
  if (!unsynced_ || failed_ || fd_ < 0) return;
  ::fdatasync(fd_);
  unsynced_ = false;
}

void RunJournal::Finish() {
  if (fd_ < 0) return;
  ::close(fd_);
  fd_ = -1;
  ::unlink(path_.c_str());
}

}  // namespace tavelin

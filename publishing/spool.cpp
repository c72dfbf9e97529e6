#include "publishing/spool.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace tavelin {
namespace {

constexpr std::size_t kReadChunk = 1 << 20;

std::string SentPath(const std::string& spoolPath) {
  return spoolPath.substr(0, spoolPath.size() - std::strlen(".spool")) + ".sent";
}

uint64_t ReadAcked(const std::string& spoolPath) {
  std::ifstream in(SentPath(spoolPath));
  std::string text;
  in >> text;
  uint64_t acked = 0;
  std::from_chars(text.data(), text.data() + text.size(), acked);
  return acked;
}

int64_t CountLines(std::string_view bytes) {
  return static_cast<int64_t>(std::count(bytes.begin(), bytes.end(), '\n'));
}

}  // namespace

Spool::Spool(std::string path, int fd) : path_(std::move(path)), fd_(fd) {}

Spool::~Spool() {
  Write();
  Sync();
  SaveAcked();
  if (fd_ >= 0) ::close(fd_);
}

std::unique_ptr<Spool> Spool::Create(const std::string& folder, const std::string& run,
                                     std::string& why) {
  const std::string path = folder + "/" + run + ".spool";
  ::mkdir(folder.c_str(), 0700);
  const int fd =
      folder.empty() ? -1 : ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    why = (folder.empty() ? std::string("保留フォルダーがありません") : path) + ": " +
          std::strerror(folder.empty() ? ENOENT : errno);
  } else {
    ::flock(fd, LOCK_EX | LOCK_NB);
  }
  return std::unique_ptr<Spool>(new Spool(path, fd));
}

std::unique_ptr<Spool> Spool::OpenLeft(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return nullptr;
  struct stat info {};
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0 || ::fstat(fd, &info) != 0) {
    ::close(fd);
    return nullptr;
  }
  std::unique_ptr<Spool> spool(new Spool(path, fd));
  // A line a crash cut short is no message: the spool ends before it.
  std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
  const ssize_t got = ::pread(fd, bytes.data(), bytes.size(), 0);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  const auto lastLine = bytes.rfind('\n');
  bytes.resize(lastLine == std::string::npos ? 0 : lastLine + 1);
  spool->fileBytes_ = bytes.size();
  spool->lines_ = CountLines(bytes);
  spool->acked_ = spool->savedAcked_ = std::min<uint64_t>(ReadAcked(path), bytes.size());
  // An acknowledged offset always ends a line; one that does not is no count of ours.
  if (spool->acked_ > 0 && bytes[spool->acked_ - 1] != '\n') spool->acked_ = 0;
  spool->ackedLines_ = CountLines(std::string_view(bytes).substr(0, spool->acked_));
  return spool;
}

bool Spool::Append(bool retain, std::string_view topic, std::string_view payload) {
  if (memory_.size() + topic.size() + payload.size() + 3 > kMemoryLimit) return false;
  memory_ += retain ? '1' : '0';
  memory_.append(topic);
  memory_ += '\t';
  memory_.append(payload);
  memory_ += '\n';
  ++lines_;
  return true;
}

std::string Spool::Write() {
  if (fd_ < 0 || memory_.empty()) return {};
  std::size_t done = 0;
  std::string refusal;
  while (done < memory_.size()) {
    const ssize_t n = ::pwrite(fd_, memory_.data() + done, memory_.size() - done,
                               static_cast<off_t>(fileBytes_ + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      refusal = std::strerror(n < 0 ? errno : ENOSPC);
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  // Only whole lines count as in the file; the rest is written again.
  std::size_t moved = done;
  if (done < memory_.size()) {
    const auto lastEnd = std::string_view(memory_).substr(0, done).rfind('\n');
    moved = lastEnd == std::string_view::npos ? 0 : lastEnd + 1;
  }
  fileBytes_ += moved;
  memory_.erase(0, moved);
  if (moved > 0) unsynced_ = true;
  return refusal;
}

void Spool::Sync() {
  if (fd_ >= 0 && unsynced_) ::fdatasync(fd_);
  unsynced_ = false;
}

bool Spool::Fill(uint64_t offset) {
  buffer_.resize(static_cast<std::size_t>(std::min<uint64_t>(kReadChunk, fileBytes_ - offset)));
  const ssize_t got = ::pread(fd_, buffer_.data(), buffer_.size(), static_cast<off_t>(offset));
  buffer_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  bufferAt_ = offset;
  return got > 0;
}

bool Spool::Read(uint64_t offset, SpooledMessage& message) {
  std::string_view bytes;
  if (offset >= fileBytes_) {
    bytes =
        std::string_view(memory_).substr(std::min<uint64_t>(offset - fileBytes_, memory_.size()));
  } else {
    const auto inBuffer = [&] {
      return offset >= bufferAt_ && offset < bufferAt_ + buffer_.size() &&
             std::string_view(buffer_).substr(offset - bufferAt_).find('\n') !=
                 std::string_view::npos;
    };
    if (!inBuffer() && (!Fill(offset) || !inBuffer())) return false;
    bytes = std::string_view(buffer_).substr(offset - bufferAt_);
  }
  const auto end = bytes.find('\n');
  const auto tab = bytes.substr(0, end).find('\t');
  if (end == std::string_view::npos || tab == std::string_view::npos || tab < 1) return false;
  message.retain = bytes[0] == '1';
  message.topic = bytes.substr(1, tab - 1);
  message.payload = bytes.substr(tab + 1, end - tab - 1);
  message.next = offset + end + 1;
  return true;
}

void Spool::Acknowledge(uint64_t offset, int64_t lines) {
  acked_ = offset;
  ackedLines_ = lines;
  if (fd_ < 0 && offset > fileBytes_) {  // without a file, memory keeps only what is unacknowledged
    memory_.erase(0, static_cast<std::size_t>(offset - fileBytes_));
    fileBytes_ = offset;
  }
}

void Spool::SaveAcked() {
  if (fd_ < 0 || acked_ == savedAcked_) return;
  const std::string sent = SentPath(path_);
  const std::string temporary = sent + ".new";
  const std::string text = std::to_string(acked_) + "\n";
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return;  // the count is a saving, not a promise: lines go again at worst
  const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::close(fd);
  if (written && std::rename(temporary.c_str(), sent.c_str()) == 0) savedAcked_ = acked_;
}

void Spool::Remove() {
  if (fd_ < 0) return;
  ::unlink(SentPath(path_).c_str());
  ::unlink(path_.c_str());
  ::close(fd_);
  fd_ = -1;
  memory_.clear();
}

}  // namespace tavelin

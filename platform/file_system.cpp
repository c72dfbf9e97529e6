#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace tavelin {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const char* what, const std::string& path, int error) {
  throw FileError(std::string(what) + ": " + path + " (" + std::strerror(error) + ")");
}

}  // namespace

bool FileExists(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

bool FolderExists(const std::string& path) {
  std::error_code error;
  return !path.empty() && fs::is_directory(path, error);
}

void CreateFolder(const std::string& path) {
  std::error_code error;
  if (!fs::create_directory(path, error) || error) {
    Fail("フォルダを作成できません", path, error ? error.value() : EEXIST);
  }
}

void DeleteFile(const std::string& path) {
  std::error_code error;
  fs::permissions(path, fs::perms::owner_write, fs::perm_options::add, error);
  if (!fs::remove(path, error))
    Fail("ファイルを削除できません", path, error ? error.value() : ENOENT);
}

TextStream::TextStream(TextStream&& other) noexcept
    : path_(std::move(other.path_)), temporary_(std::move(other.temporary_)), fd_(other.fd_) {
  other.fd_ = -1;
}

TextStream::~TextStream() {
  if (fd_ < 0) return;
  ::close(fd_);
  ::unlink(temporary_.c_str());
}

void TextStream::Write(std::string_view bytes) {
  if (fd_ < 0) Fail("ファイルは閉じています", path_, EBADF);
  while (!bytes.empty()) {
    const ssize_t done = ::write(fd_, bytes.data(), bytes.size());
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) Fail("ファイルに書き込めません", path_, done < 0 ? errno : ENOSPC);
    bytes.remove_prefix(static_cast<std::size_t>(done));
  }
}

void TextStream::Close() {
  if (fd_ < 0) return;
  const int fd = fd_;
  fd_ = -1;
  // On disk before its name: a power cut never leaves the name on an empty file.
  const bool synced = ::fsync(fd) == 0;
  const int syncError = errno;
  const bool closed = ::close(fd) == 0;
  const int closeError = errno;
  if (!synced || !closed || ::rename(temporary_.c_str(), path_.c_str()) != 0) {
    const int error = !synced ? syncError : !closed ? closeError : errno;
    ::unlink(temporary_.c_str());
    Fail("ファイルに書き込めません", path_, error);
  }
  if (!SyncFolder(fs::path(path_).parent_path().string())) {
    Fail("ファイルに書き込めません", path_, errno);
  }
}

TextStream CreateTextFile(const std::string& path) {
  static std::atomic<unsigned> counter{0};
  std::string temporary = HiddenWritePrefix(path);
  temporary.append(std::to_string(::getpid())).append("-").append(std::to_string(counter++));
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) Fail("ファイルを作成できません", path, errno);
  return TextStream(path, temporary, fd);
}

std::string HiddenWritePrefix(const std::string& path) {
  const fs::path target(path);
  // Hidden: no reader takes it for a log.
  std::string hidden(".");
  hidden.append(target.filename().string()).append(".");
  return (target.parent_path() / hidden).string();
}

bool TakeFileName(const std::string& path) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd >= 0) {
    ::close(fd);
    return true;
  }
  if (errno == EEXIST) return false;
  Fail("ファイルを作成できません", path, errno);
}

std::optional<FileIdentity> IdentityOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileIdentity{static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino)};
}

bool SyncFolder(const std::string& folder) {
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool synced = ::fsync(fd) == 0;
  const int error = errno;
  ::close(fd);
  errno = error;
  return synced;
}

std::string FolderOfDroppedPath(const std::string& path) {
  std::error_code error;
  std::string folder = path;
  if (fs::exists(path, error) && !fs::is_directory(path, error)) {
    folder = fs::path(path).parent_path().string();
  }
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder.empty() ? "/" : folder;
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  return folder + "/" + name;
}

}  // namespace tavelin

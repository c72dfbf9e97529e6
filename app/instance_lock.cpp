#include "app/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tavelin {
namespace {

bool SameFile(int fd, const std::string& path) {
  struct stat opened {
  }, named{};
  return ::fstat(fd, &opened) == 0 && ::stat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

InstanceLock::InstanceLock(const std::string& folder) : path_(folder + "/tavelin.lock") {
  // A first instance that ends removes the file: a lock taken on the file
  // it removed is taken again on the new one.
  for (int attempt = 0; attempt < 8; ++attempt) {
    fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) {
      why_ = (errno == EACCES || errno == EPERM || errno == EROFS)
                 ? "書き込む権利がありません: " + folder
                 : "ロックファイルを作れません: " + folder;
      return;
    }
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
      const bool held = errno == EWOULDBLOCK;
      ::close(fd_);
      fd_ = -1;
      if (held) {
        outcome_ = Outcome::HeldByAnother;
      } else {
        why_ = "ロックファイルを作れません: " + folder;
      }
      return;
    }
    if (SameFile(fd_, path_)) {
      outcome_ = Outcome::Taken;
      return;
    }
    ::close(fd_);
    fd_ = -1;
  }
  why_ = "ロックファイルを作れません: " + folder;
}

InstanceLock::~InstanceLock() {
  if (fd_ < 0) return;
  ::unlink(path_.c_str());  // while still held: nobody takes the old file
  ::close(fd_);
}

}  // namespace tavelin

#include "app/raise_requests.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "platform/crc32c.h"

namespace tavelin {
namespace {

// An abstract socket (no file to leave behind): one name a user and a
// settings folder, so two installs of one user, or two users, never meet.
sockaddr_un AddressOf(const std::string& folder, socklen_t& length) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name =
      "tavelin-" + std::to_string(::getuid()) + "-" + std::to_string(Crc32c(folder));
  std::memcpy(address.sun_path + 1, name.data(), name.size());  // sun_path[0] stays 0
  length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  return address;
}

}  // namespace

RaiseRequests::RaiseRequests(const std::string& folder, std::function<void()> raise)
    : raise_(std::move(raise)) {
  socklen_t length = 0;
  const sockaddr_un address = AddressOf(folder, length);
  fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd_ < 0) return;
  if (::bind(fd_, reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
      ::listen(fd_, 4) != 0) {
    ::close(fd_);
    fd_ = -1;
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { Accept(); });
}

RaiseRequests::~RaiseRequests() {
  notifier_.reset();
  if (fd_ >= 0) ::close(fd_);
}

// Only this user's requests count; the request is the connection itself.
void RaiseRequests::Accept() {
  for (;;) {
    const int client = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool ours =
        ::getsockopt(client, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
    ::close(client);
    if (ours && raise_) raise_();
  }
}

bool RaiseRequests::AskRunning(const std::string& folder) {
  socklen_t length = 0;
  const sockaddr_un address = AddressOf(folder, length);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const bool connected = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0;
  ::close(fd);
  return connected;
}

}  // namespace tavelin

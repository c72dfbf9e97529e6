#include "serial_line.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kvr {
namespace {

speed_t SpeedOf(int baud) {
  switch (baud) {
    case 1200:
      return B1200;
    case 2400:
      return B2400;
    case 4800:
      return B4800;
    case 9600:
      return B9600;
    case 19200:
      return B19200;
    case 38400:
      return B38400;
    case 57600:
      return B57600;
    case 115200:
      return B115200;
    case 230400:
      return B230400;
    case 460800:
      return B460800;
    case 500000:
      return B500000;
    case 921600:
      return B921600;
    case 1000000:
      return B1000000;
    default:
      return B0;
  }
}

}  // namespace

int OpenSerialLine(const std::string& path, int baud, std::string& why) {
  const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    why = std::strerror(errno);
    return -1;
  }
  termios mode{};
  if (::tcgetattr(fd, &mode) != 0) {
    why = std::string("not a serial line (") + std::strerror(errno) + ")";
    ::close(fd);
    return -1;
  }
  cfmakeraw(&mode);
  mode.c_cflag |= CLOCAL | CREAD;
  mode.c_cflag &= ~(CSTOPB | PARENB | CRTSCTS);
  mode.c_cc[VMIN] = 0;
  mode.c_cc[VTIME] = 0;
  cfsetispeed(&mode, SpeedOf(baud));
  cfsetospeed(&mode, SpeedOf(baud));
  if (::tcsetattr(fd, TCSANOW, &mode) != 0) {
    why = std::strerror(errno);
    ::close(fd);
    return -1;
  }
  ::ioctl(fd, TIOCEXCL);
  ::tcflush(fd, TCIOFLUSH);
  return fd;
}

}  // namespace kvr

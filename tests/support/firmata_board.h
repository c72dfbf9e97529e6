#pragma once
// A board that answers as StandardFirmata does, on a pseudo-terminal: it
// says its version when asked and after a reset, takes pin modes and
// report switches, sends a port when asked to report it and when its pins
// change, and streams the reported analog pins at its sampling interval.
#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavelin::test {

class FirmataBoard {
 public:
  FirmataBoard();
  ~FirmataBoard();
  FirmataBoard(const FirmataBoard&) = delete;
  FirmataBoard& operator=(const FirmataBoard&) = delete;

  std::string Path() const { return path_; }
  void SetPin(int pin, bool high);
  void SetAnalog(int pin, int value);
  // As the reset button: reports off, modes back, the version said again.
  void Reset();
  int SamplingIntervalMs() const { return intervalMs_; }
  // The mode last set of a pin (StandardFirmata's numbers).
  int ModeOf(int pin);

 private:
  void Run();
  void Take(const std::vector<uint8_t>& message);
  void Send(std::vector<uint8_t> bytes);
  void SendPort(int port);
  void SendVersion();

  int master_ = -1;
  int slave_ = -1;
  std::string path_;
  std::mutex mutex_;
  std::array<uint8_t, 4> ports_{};
  std::array<int, 16> analog_{};
  std::array<int, 32> modes_{};
  uint16_t reportAnalog_ = 0;
  uint16_t reportDigital_ = 0;
  std::atomic<int> intervalMs_{19};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace tavelin::test

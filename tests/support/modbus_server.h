#pragma once
// A Modbus server made with libmodbus itself, on a thread of the test
// process: TCP on 127.0.0.1 at a free port, or RTU on a pseudo-terminal
// whose other end the device map names.
#include <modbus/modbus.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace tavelin::test {

class ModbusServer {
 public:
  enum class Kind { Tcp, Rtu };
  explicit ModbusServer(Kind kind = Kind::Tcp, int unit = 1);
  ~ModbusServer();
  ModbusServer(const ModbusServer&) = delete;
  ModbusServer& operator=(const ModbusServer&) = delete;

  // "127.0.0.1:PORT" or the pseudo-terminal's path, as the map writes it.
  std::string Place() const;

  void SetDiscrete(int address, bool on);
  void SetInputRegister(int address, uint16_t value);
  void SetHoldingRegister(int address, uint16_t value);
  // Each answer waits this long first.
  void SetDelayMs(int ms) { delayMs_ = ms; }
  // A read of input registers that reaches this one answers "illegal data address".
  void SetLastInputRegister(int address) { lastInputRegister_ = address; }
  // Stops answering and closes every connection (a server switched off);
  // Start takes the same place again.
  void Stop();
  void Start();
  int Requests() const { return requests_; }
  // Processor time the server's thread has used.
  double CpuSeconds() const;

 private:
  void Serve();
  void Answer(const uint8_t* query, int length);

  Kind kind_;
  int unit_;
  int port_ = 0;
  int master_ = -1;
  int slave_ = -1;
  std::string slavePath_;
  modbus_t* context_ = nullptr;
  modbus_mapping_t* mapping_ = nullptr;
  std::mutex mutex_;  // the mapping
  std::atomic<int> delayMs_{0};
  std::atomic<int> lastInputRegister_{1 << 16};
  std::atomic<int> requests_{0};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace tavelin::test

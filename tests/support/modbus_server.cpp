#include "support/modbus_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pthread.h>
#include <pty.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <stdexcept>
#include <vector>

namespace tavelin::test {
namespace {

constexpr int kRegisters = 1024;
constexpr int kTcpUnitAt = 6;  // after the MBAP header's first six bytes

}  // namespace

ModbusServer::ModbusServer(Kind kind, int unit) : kind_(kind), unit_(unit) {
  mapping_ = modbus_mapping_new(kRegisters, kRegisters, kRegisters, kRegisters);
  if (kind_ == Kind::Rtu) {
    char name[256] = {};
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&master_, &slave_, name, &raw, nullptr) != 0) throw std::runtime_error("openpty");
    slavePath_ = name;
  }
  Start();
}

ModbusServer::~ModbusServer() {
  Stop();
  if (master_ >= 0) ::close(master_);
  if (slave_ >= 0) ::close(slave_);
  modbus_mapping_free(mapping_);
}

std::string ModbusServer::Place() const {
  return kind_ == Kind::Tcp ? "127.0.0.1:" + std::to_string(port_) : slavePath_;
}

void ModbusServer::SetDiscrete(int address, bool on) {
  const std::lock_guard lock(mutex_);
  mapping_->tab_input_bits[address] = on ? 1 : 0;
}

void ModbusServer::SetInputRegister(int address, uint16_t value) {
  const std::lock_guard lock(mutex_);
  mapping_->tab_input_registers[address] = value;
}

void ModbusServer::SetHoldingRegister(int address, uint16_t value) {
  const std::lock_guard lock(mutex_);
  mapping_->tab_registers[address] = value;
}

double ModbusServer::CpuSeconds() const {
  clockid_t clock{};
  timespec used{};
  if (pthread_getcpuclockid(const_cast<std::thread&>(thread_).native_handle(), &clock) != 0 ||
      clock_gettime(clock, &used) != 0) {
    return 0.0;
  }
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

void ModbusServer::Start() {
  stop_ = false;
  if (kind_ == Kind::Tcp) {
    context_ = modbus_new_tcp("127.0.0.1", port_);
    const int listening = modbus_tcp_listen(context_, 4);
    if (listening < 0) throw std::runtime_error(modbus_strerror(errno));
    sockaddr_in bound{};
    socklen_t length = sizeof bound;
    getsockname(listening, reinterpret_cast<sockaddr*>(&bound), &length);
    port_ = ntohs(bound.sin_port);
    modbus_set_socket(context_, listening);
  } else {
    context_ = modbus_new_rtu(slavePath_.c_str(), 115200, 'N', 8, 1);
    modbus_set_slave(context_, unit_);
    modbus_set_socket(context_, master_);
  }
  thread_ = std::thread([this] { Serve(); });
}

void ModbusServer::Stop() {
  if (!thread_.joinable()) return;
  stop_ = true;
  thread_.join();
  if (kind_ == Kind::Tcp) ::close(modbus_get_socket(context_));
  modbus_free(context_);
  context_ = nullptr;
}

void ModbusServer::Answer(const uint8_t* query, int length) {
  ++requests_;
  if (delayMs_ > 0) std::this_thread::sleep_for(std::chrono::milliseconds(delayMs_.load()));
  const int header = modbus_get_header_length(context_);
  const int function = query[header];
  const int address = (query[header + 1] << 8) | query[header + 2];
  const int count = (query[header + 3] << 8) | query[header + 4];
  const std::lock_guard lock(mutex_);
  if (kind_ == Kind::Tcp && query[kTcpUnitAt] != unit_) {
    modbus_reply_exception(context_, query, MODBUS_EXCEPTION_GATEWAY_TARGET);
  } else if (function == MODBUS_FC_READ_INPUT_REGISTERS && address + count > lastInputRegister_) {
    modbus_reply_exception(context_, query, MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS);
  } else {
    modbus_reply(context_, query, length, mapping_);
  }
}

// Answers each query on the serial line, or on each connection the
// listening socket takes, until stopped.
void ModbusServer::Serve() {
  const bool tcp = kind_ == Kind::Tcp;
  const int listening = tcp ? modbus_get_socket(context_) : -1;
  std::vector<int> lines = tcp ? std::vector<int>{} : std::vector<int>{master_};
  uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
  while (!stop_) {
    fd_set ready;
    FD_ZERO(&ready);
    int highest = listening;
    if (tcp) FD_SET(listening, &ready);
    for (const int line : lines) {
      FD_SET(line, &ready);
      highest = std::max(highest, line);
    }
    timeval wait{0, 10000};
    if (select(highest + 1, &ready, nullptr, nullptr, &wait) <= 0) continue;
    if (tcp && FD_ISSET(listening, &ready)) {
      const int client = accept(listening, nullptr, nullptr);
      if (client >= 0) lines.push_back(client);
    }
    for (auto it = lines.begin(); it != lines.end();) {
      int length = 0;
      if (FD_ISSET(*it, &ready)) {
        modbus_set_socket(context_, *it);
        length = modbus_receive(context_, query);
      }
      if (length > 0) Answer(query, length);
      if (length < 0 && tcp) {  // the client has gone
        ::close(*it);
        it = lines.erase(it);
      } else {
        ++it;
      }
    }
  }
  if (!tcp) return;
  for (const int client : lines) ::close(client);
  modbus_set_socket(context_, listening);
}

}  // namespace tavelin::test

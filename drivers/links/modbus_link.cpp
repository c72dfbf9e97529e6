#include "modbus_link.h"

#include <modbus/modbus.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <tuple>

#include "common/device_backend.h"

namespace kvr {
namespace {

// The most one request reads (the protocol allows 2000 bits or 125 registers).
constexpr int kLongestBitBlock = 2000;
constexpr int kLongestRegisterBlock = 125;

struct Block {
  int unit = 0;
  ModbusTable table = ModbusTable::Discrete;
  int address = 0;
  int count = 0;
  std::vector<std::size_t> devices;  // indices into the link's devices
  int failures = 0;                  // in a row
  double nextTry = 0.0;
  double pauseMs = Link::kFirstPauseMs;
};

bool IsException(int error) {
  return error >= EMBXILFUN && error <= EMBXGTAR;
}

class ModbusLink final : public Link {
 public:
  using Link::Link;
  ~ModbusLink() override { Stop(); }

 private:
  bool Connect(std::string& why) override {
    const LinkAddress& a = Address();
    if (a.kind == LinkKind::ModbusTcp) {
      context_ = modbus_new_tcp_pi(a.host.c_str(), std::to_string(a.port).c_str());
    } else {
      context_ = modbus_new_rtu(a.device.c_str(), a.baud, a.parity, 8, a.stopBits);
    }
    if (context_ == nullptr) {
      why = modbus_strerror(errno);
      return false;
    }
    const int timeoutMs = a.kind == LinkKind::ModbusTcp ? kModbusTcpTimeoutMs : kModbusRtuTimeoutMs;
    modbus_set_response_timeout(context_, 0, static_cast<uint32_t>(timeoutMs) * 1000);
    modbus_set_byte_timeout(context_, 0, kModbusByteTimeoutMs * 1000);
    if (modbus_connect(context_) != 0) {
      why = modbus_strerror(errno);
      modbus_free(context_);
      context_ = nullptr;
      return false;
    }
    return true;
  }

  void Disconnect() override {
    if (context_ == nullptr) return;
    modbus_close(context_);
    modbus_free(context_);
    context_ = nullptr;
  }

  // Neighbouring devices of one unit and table share a block.
  void Planned(std::vector<Device>& devices) override {
    std::vector<std::size_t> order(devices.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto key = [&](std::size_t i) {
      const MappedDevice& d = devices[i].map;
      return std::tuple(d.unit, static_cast<int>(d.table), d.address);
    };
    std::sort(order.begin(), order.end(), [&](auto a, auto b) { return key(a) < key(b); });
    blocks_.clear();
    for (const std::size_t i : order) {
      const MappedDevice& d = devices[i].map;
      const int longest = d.ReadsBits() ? kLongestBitBlock : kLongestRegisterBlock;
      if (!blocks_.empty() && alone_.count(d.text) == 0 &&
          alone_.count(devices[blocks_.back().devices.back()].map.text) == 0) {
        Block& last = blocks_.back();
        const int end = std::max(last.address + last.count, d.address + d.Span());
        if (last.unit == d.unit && last.table == d.table &&
            d.address <= last.address + last.count && end - last.address <= longest) {
          last.count = end - last.address;
          last.devices.push_back(i);
          continue;
        }
      }
      blocks_.push_back({d.unit, d.table, d.address, d.Span(), {i}});
    }
  }

  bool Round(std::vector<Device>& devices, std::string& why) override {
    const double start = SteadyMilliseconds();
    for (std::size_t b = 0; b < blocks_.size() && !Stopping();) {
      if (blocks_[b].nextTry > start) {
        ++b;
        continue;
      }
      switch (Ask(blocks_[b], devices, why)) {
        case Outcome::Done:
          ++b;
          break;
        case Outcome::Split:
          SplitBlock(b, devices);
          break;
        case Outcome::ConnectAgain:
          return false;
      }
    }
    const double left = kModbusRoundMs - (SteadyMilliseconds() - start);
    if (left > 0) Pause(left);
    return true;
  }

  enum class Outcome { Done, Split, ConnectAgain };

  // One request.
  Outcome Ask(Block& block, std::vector<Device>& devices, std::string& why) {
    modbus_set_slave(context_, block.unit);
    int read = -1;
    switch (block.table) {
      case ModbusTable::Discrete:
        read = modbus_read_input_bits(context_, block.address, block.count, bits_);
        break;
      case ModbusTable::Coils:
        read = modbus_read_bits(context_, block.address, block.count, bits_);
        break;
      case ModbusTable::Input:
        read = modbus_read_input_registers(context_, block.address, block.count, registers_);
        break;
      case ModbusTable::Holding:
        read = modbus_read_registers(context_, block.address, block.count, registers_);
        break;
    }
    if (read == block.count) {
      block.failures = 0;
      block.pauseMs = kFirstPauseMs;
      for (const std::size_t i : block.devices)
        Answered(devices[i], InputOf(block, devices[i].map));
      return Outcome::Done;
    }
    const int error = read < 0 ? errno : EMBBADDATA;
    if (IsException(error) && block.devices.size() > 1) return Outcome::Split;
    const bool tcp = Address().kind == LinkKind::ModbusTcp;
    if (tcp && !IsException(error) && error != EMBBADSLAVE) {
      why = modbus_strerror(error);  // a late answer would match the next request
      return Outcome::ConnectAgain;
    }
    if (!tcp) modbus_flush(context_);
    if (++block.failures < kModbusTriesBeforeLost && !IsException(error)) return Outcome::Done;
    for (const std::size_t i : block.devices) Failed(devices[i], modbus_strerror(error));
    block.nextTry = SteadyMilliseconds() + block.pauseMs;
    block.pauseMs = std::min(block.pauseMs * 2, static_cast<double>(kLongestPauseMs));
    return Outcome::Done;
  }

  LatestInputs::Input InputOf(const Block& block, const MappedDevice& d) const {
    LatestInputs::Input input{};
    const int offset = d.address - block.address;
    if (d.ReadsBits()) {
      int32_t byte = 0;
      for (int i = 0; i < 8; ++i) {
        if (bits_[offset + i] != 0) byte |= 1 << i;
      }
      input[0] = byte;
    } else if (d.family == DeviceFamily::UsbIo) {
      input[0] = (registers_[offset] >> d.bit) & 0xFF;
    } else {
      for (int p = 0; p < kProbeInputs; ++p)
        input[static_cast<std::size_t>(p)] = registers_[offset + p];
    }
    return input;
  }

  // Block b as one block a device, each asked again at once; kept apart
  // from then on, also when the blocks are planned again.
  void SplitBlock(std::size_t b, const std::vector<Device>& devices) {
    const Block whole = blocks_[b];
    blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(b));
    for (const std::size_t i : whole.devices) {
      const MappedDevice& d = devices[i].map;
      alone_.insert(d.text);
      blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(b++),
                     Block{d.unit, d.table, d.address, d.Span(), {i}});
    }
  }

  modbus_t* context_ = nullptr;
  std::vector<Block> blocks_;
  uint8_t bits_[kLongestBitBlock] = {};
  uint16_t registers_[kLongestRegisterBlock] = {};
  std::set<std::string> alone_;  // lines whose device answered a block with an exception
};

}  // namespace

std::unique_ptr<Link> MakeModbusLink(LinkAddress address, LatestInputs* modules,
                                     LatestInputs* probes) {
  return std::make_unique<ModbusLink>(std::move(address), modules, probes);
}

}  // namespace kvr

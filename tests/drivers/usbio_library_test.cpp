// The USB-IO library through its entry points, on simulated modules.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

using test::BuiltLibraries;
using test::Simulation;

std::string ConstantModules(const std::map<int, int>& inputs) {
  std::string text;
  for (const auto& [channel, value] : inputs) {
    text +=
        "usbio " + std::to_string(channel) + " prepared constant " + std::to_string(value) + "\n";
  }
  return text;
}

// Modules `first` onwards, `count` of them, each reading `input`.
std::map<int, int> Modules(int first, int count, int input = 0) {
  std::map<int, int> inputs;
  for (int c = first; c < first + count; ++c) inputs[c] = input;
  return inputs;
}

struct Sampled {
  USB_IO_IF io{BuiltLibraries().usbIo.api};
};

// One pass of a digital run in mode 3 over modules with constant inputs.
std::unique_ptr<Sampled> SampleOnce(const std::map<int, int>& inputs,
                                    const std::function<void(ELM327_Info&)>& configure) {
  Simulation simulation(ConstantModules(inputs));
  auto sampled = std::make_unique<Sampled>();
  ELM327_Info device;
  configure(device);
  sampled->io.openDevice();
  sampled->io.Data_ALL_Clear();
  sampled->io.Data_ALL_Set(device);
  sampled->io.USBIO_J1_MakeData_Bit(128) = 7;  // the spare slot is never written
  sampled->io.ReciveData();
  sampled->io.DataCalculation();
  return sampled;
}

struct Conversion {
  const char* name;
  std::map<int, int> inputs;
  int16_t channel;
  int32_t startBit, length, turn, reverse, mode;
  int32_t makeData;
  double value;
};

TEST(UsbIoLibrary, ConvertsFieldsAsConfigured) {
  const Conversion cases[] = {
      {"first bit most significant", {{0, 0b101}}, 0, 1, 8, 0, 0, 0, 0b10100000, 160},
      {"field inside the module", {{0, 0b00111100}}, 0, 3, 4, 0, 0, 0, 0b1111, 15},
      {"into the next module", {{0, 0xF0}, {1, 0x01}}, 0, 5, 8, 0, 0, 0, 0b11111000, 248},
      {"sign and magnitude", {{0, 0b1101}}, 0, 1, 4, 0, 0, 1, 0b1011, -3},
      {"two's complement, negative", {{0, 0b1101}}, 0, 1, 4, 0, 0, 2, 0b1011, -5},
      {"two's complement, positive", {{0, 0b0110}}, 0, 1, 4, 0, 0, 2, 0b0110, 6},
      {"count of ones", {{0, 0b10110001}}, 0, 1, 8, 0, 0, 3, 0b10001101, 4},
      {"count of ones, other places", {{0, 0b00001111}}, 0, 1, 8, 0, 0, 3, 0b11110000, 4},
      {"inverted", {{0, 0x0F}}, 0, 1, 8, 1, 0, 0, 0b00001111, 15},
      {"reversed", {{0, 0x01}}, 0, 1, 8, 0, 1, 0, 0b00000001, 1},
      {"inverted, then reversed", {{0, 0x01}}, 0, 1, 8, 1, 1, 0, 0b11111110, 254},
      {"last module, field past slot 127", {{15, 0xF0}}, 15, 5, 8, 0, 0, 0, 0b11110000, 240},
      {"past slot 127, inverted", {{15, 0xF0}}, 15, 5, 8, 1, 0, 0, 0b00001111, 15},
      {"one bit field, sign only", {{3, 0x01}}, 3, 1, 1, 0, 0, 1, 1, 0},
      {"128 ones, two's complement", Modules(0, 16, 0xFF), 0, 1, 128, 0, 0, 2, -1, -1},
  };
  for (const Conversion& c : cases) {
    const auto sampled = SampleOnce(c.inputs, [&](ELM327_Info& device) {
      device.usbio_StartBit(c.channel) = c.startBit;
      device.usbio_DataLength(c.channel) = c.length;
      device.usbio_bit_turn(c.channel) = c.turn;
      device.usbio_bit_reverse(c.channel) = c.reverse;
      device.usbio_Conversion(c.channel) = c.mode;
    });
    EXPECT_EQ(sampled->io.USBIO_J1_MakeData(c.channel), c.makeData) << c.name;
    EXPECT_EQ(sampled->io.USBIO_Value(c.channel), c.value) << c.name;
    EXPECT_EQ(sampled->io.USBIO_J1_MakeData_Bit(128), 7) << c.name;
  }
}

// A channel's value comes from its own processed field, whole: not from the
// shared bit table, where later channels write over it and which ends at
// slot 127. So it never depends on which other modules are plugged in.
TEST(UsbIoLibrary, AChannelsValueIsItsOwnFieldWhateverElseIsPluggedIn) {
  struct Case {
    const char* name;
    std::map<int, int> inputs;
    int16_t channel;
    int32_t startBit, length, turn, reverse;
    double value;
  };
  const double forty = 1099511627775.0;  // 2^40 - 1
  const Case cases[] = {
      {"inverted word, next module absent", {{0, 0}}, 0, 1, 16, 1, 0, 65535},
      {"inverted word, next module present", {{0, 0}, {1, 0}}, 0, 1, 16, 1, 0, 65535},
      {"reversed word across two modules", {{0, 0x34}, {1, 0x12}}, 0, 1, 16, 0, 1, 0x1234},
      {"reversed field past slot 127", {{15, 0x80}}, 15, 8, 4, 0, 1, 1},
      {"40 bits, later modules present", Modules(0, 5), 0, 1, 40, 1, 0, forty},
      {"40 bits past slot 127", Modules(14, 2), 14, 1, 40, 1, 0, forty},
  };
  for (const Case& c : cases) {
    const auto sampled = SampleOnce(c.inputs, [&](ELM327_Info& device) {
      device.usbio_StartBit(c.channel) = c.startBit;
      device.usbio_DataLength(c.channel) = c.length;
      device.usbio_bit_turn(c.channel) = c.turn;
      device.usbio_bit_reverse(c.channel) = c.reverse;
    });
    EXPECT_EQ(sampled->io.USBIO_Value(c.channel), c.value) << c.name;
    if (c.length <= 32) {
      EXPECT_EQ(sampled->io.USBIO_Value(c.channel),
                static_cast<uint32_t>(sampled->io.USBIO_J1_MakeData(c.channel)))
          << c.name;
    }
  }
}

TEST(UsbIoLibrary, ProcessedSlotsHoldTheFieldAndTheRawStreamElsewhere) {
  // Channel 0 inverts 16 bits; channel 1 comes later and its own field stands.
  const auto sampled = SampleOnce({{0, 0x0F}, {1, 0x03}}, [](ELM327_Info& device) {
    device.usbio_DataLength(0) = 16;
    device.usbio_bit_turn(0) = 1;
  });
  const USB_IO_IF& io = sampled->io;
  for (int16_t s = 0; s < 4; ++s) EXPECT_EQ(io.USBIO_J1_MakeData_Bit(s), 0) << s;
  for (int16_t s = 4; s < 8; ++s) EXPECT_EQ(io.USBIO_J1_MakeData_Bit(s), 1) << s;
  EXPECT_EQ(io.USBIO_J1_MakeData_Bit(8), 1);
  EXPECT_EQ(io.USBIO_J1_MakeData_Bit(10), 0);
  EXPECT_EQ(io.USBIO_J1_MakeData(0), 0b0000111100111111);
  // The raw tables keep what the modules gave.
  EXPECT_EQ(io.USBIO_J1_Data(0), 0x0F);
  EXPECT_EQ(io.USBIO_J1_Data_Bit(0), 1);
  EXPECT_EQ(io.USBIO_J1_Data_Bit(4), 0);
  EXPECT_EQ(io.USBIO_J1_Data(2), 0);  // no module: reads 0
}

TEST(UsbIoLibrary, ScalesAndRoundsTheNumber) {
  const auto sampled = SampleOnce({{2, 0xC0}}, [](ELM327_Info& device) {
    device.usbio_multiply(2) = 1.0 / 7.0;
    device.usbio_addition(2) = -1.0;
    device.usbio_round_On(2) = 1;
    device.usbio_round_value(2) = 3;
  });
  EXPECT_EQ(sampled->io.USBIO_Value(2), -0.57);  // 3/7 - 1 = -0.5714...
}

// The simulated bench is what its file says at each search: a plain module
// is found by the writer's search alone until a write prepares it (for the
// life of the process, and only that module), modules come and go (one
// pulled out keeps its last input), and a script steps once per read, in
// any base, comments left out.
TEST(UsbIoLibrary, TheSimulatedBenchFollowsItsFile) {
  Simulation simulation(
      "usbio 1 prepared script steps.seq\nusbio 2 prepared script steps.seq vanish-after 2\n"
      "usbio 13 plain constant 2\n");
  simulation.Script("steps.seq", {"# three steps", "1", "0x80", "0b00000110"});
  USB_IO_IF shared(BuiltLibraries().usbIo.api);
  shared.openDevice();
  EXPECT_EQ(shared.FindDevice, 2);
  EXPECT_EQ(shared.HidCh(13), -1);
  for (int value : {1, 0x80, 0b110, 1}) {
    shared.ReciveData();
    EXPECT_EQ(shared.USBIO_J1_Data(1), value);
    for (int16_t k = 0; k < 8; ++k) EXPECT_EQ(shared.USBIO_J1_Data_Bit(8 + k), (value >> k) & 1);
  }
  EXPECT_EQ(shared.USBIO_J1_Data(2), 0x80);

  USB_IO_IF writer(BuiltLibraries().usbIo.api);
  writer.searchDevice();
  EXPECT_EQ(writer.FindDevice, 2);  // modules 1 and 13: the one pulled out is not found again
  EXPECT_EQ(writer.setting_writeDevice(), 2);

  simulation.Rewrite(
      "usbio 1 prepared script steps.seq\nusbio  13 plain constant 2 # re-read\n"
      "usbio 9 prepared constant 5\n");
  shared.Param_ALL_Clear();
  shared.openDevice();
  EXPECT_EQ(shared.FindDevice, 3);
  EXPECT_GE(shared.HidCh(13), 0);
  shared.ReciveData();
  EXPECT_EQ(shared.USBIO_J1_Data(1), 0x80);  // still plugged in: its script goes on
  EXPECT_EQ(shared.USBIO_J1_Data(9), 5);

  // Another module on channel 13 has had no settings written; module 1 is gone.
  simulation.Rewrite("usbio 9 prepared constant 5\nusbio 13 plain constant 7\n");
  shared.Param_ALL_Clear();
  shared.openDevice();
  EXPECT_EQ(shared.FindDevice, 1);
  EXPECT_EQ(shared.HidCh(13), -1);
  EXPECT_EQ(shared.HidCh(1), -1);
}

// Each library says the faulty lines of its own family, the digital one
// also the lines of neither, and finds the devices of the good lines.
TEST(SimulatedLibraries, EachSaysTheFaultyLinesOfItsOwnFamily) {
  Simulation simulation(
      "usbio 0 prepared counter 50\n"
      "usbio 16 prepared counter\n"
      "usbio 1 prepared wobble\n"
      "usbio 2 plain script missing.seq\n"
      "probe 9 sine\n"
      "frobnicate\n"
      "usbio 3 prepared walk 20 extra\n"
      "usbio 0 plain walk\n"
      "usbio 5 prepared square 100 200\n"
      "probe 0 constant 1 2 3 4 5 6 7\n"
      "probe 2 script nothing.seq\n"
      "probe 4 ramp\n");
  USB_IO_IF io(BuiltLibraries().usbIo.api);
  KVR_USB_Probe probe(BuiltLibraries().usbProbe.api);
  testing::internal::CaptureStderr();
  io.searchDevice();
  const std::string digital = testing::internal::GetCapturedStderr();
  testing::internal::CaptureStderr();
  probe.openDevice();
  const std::string analog = testing::internal::GetCapturedStderr();
  EXPECT_EQ(io.FindDevice, 2);
  EXPECT_GE(io.HidCh(0), 0);
  EXPECT_GE(io.HidCh(5), 0);
  EXPECT_EQ(probe.FindDevice, 1);
  for (int line = 1; line <= 12; ++line) {
    const std::string said = simulation.FilePath() + ":" + std::to_string(line) + ": ";
    const bool probeLine = line == 5 || line >= 10;
    const bool faulty = line != 1 && line != 9 && line != 12;
    EXPECT_EQ(digital.find(said) != std::string::npos, faulty && !probeLine) << line << digital;
    EXPECT_EQ(analog.find(said) != std::string::npos, faulty && probeLine) << line << analog;
  }
}

}  // namespace
}  // namespace tavelin

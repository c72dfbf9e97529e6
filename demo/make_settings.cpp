// Writes the settings of the demonstration bench into a folder of its own:
// channels with names, bit names, colours and conversions, so that the demo
// looks as a bench in use does.
//   tavelin_demo_settings FOLDER [--terms-accepted]
// --terms-accepted writes them as after a first start whose terms of use
// were accepted (bench/start_time.py starts the program so).
// A folder that holds settings already is left as it is: the demo never
// writes over settings somebody made.
#include <cstdio>
#include <filesystem>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "settings/FileSaveSystem.h"
#include "state/ELM327_Info.h"

namespace {

using tavelin::Colour;

constexpr Colour kRed = 0x3030FF;  // 0x00BBGGRR
constexpr Colour kYellow = 0x00D7FF;
constexpr Colour kBlue = 0xFF9A30;
constexpr Colour kGreen = 0x00FF00;

struct Channel {
  const char* name;
  Colour led;
  int32_t length, conversion;
  double multiply, addition;
  const char* bits[8];
};

// The twelve prepared modules of demo.sim, in its order.
const Channel kChannels[] = {
    {"ライン 1 カウンタ", kGreen, 8, 0, 1.0, 0.0, {"計数 0", "計数 1", "計数 2", "計数 3"}},
    {"搬送 位置", kBlue, 8, 0, 2.5, 0.0, {"位置 0", "位置 1", "位置 2", "位置 3"}},
    {"ヒーター 出力", kRed, 8, 3, 12.5, 0.0, {"H1", "H2", "H3", "H4", "H5", "H6", "H7", "H8"}},
    {"警報", kRed, 8, 0, 1.0, 0.0, {"過熱", "過電流", "非常停止", "扉開", "水位低", "圧力高"}},
    {"炉 1 温度", kYellow, 8, 0, 0.5, 20.0, {}},
    {"冷却水 流量", kBlue, 8, 0, 0.2, 0.0, {}},
    {"ドア センサ", kYellow, 8, 0, 1.0, 0.0, {"前扉", "後扉", "側扉", "天板"}},
    {"異常 入力", kRed, 8, 0, 1.0, 0.0, {}},
    {"運転 状態", kGreen, 8, 0, 1.0, 0.0, {"運転", "停止", "準備", "保守"}},
    {"設定 スイッチ", kBlue, 8, 0, 1.0, 0.0, {"SW1", "SW2", "SW3", "SW4", "SW5", "SW6"}},
    {"圧力 偏差", kYellow, 8, 2, 0.1, 0.0, {}},
    {"ライン 2 カウンタ", kGreen, 8, 0, 1.0, 0.0, {}},
};

struct Probe {
  const char* name;
  const char* pins[6];
  double multiply, addition;
  int32_t digits;
};

const Probe kProbes[] = {
    {"炉 1 熱電対", {"上段", "中段", "下段", "排気", "外壁", "室温"}, 0.25, -50.0, 1},
    {"油圧 ライン", {"P1", "P2", "P3", "P4", "P5", "P6"}, 0.005, 0.0, 3},
    {"電源 監視", {"U 相", "V 相", "W 相", "N", "制御 24V", "予備"}, 0.1, 0.0, 1},
};

void ChannelSettings(tavelin::ELM327_Info& device) {
  for (int16_t c = 0; c < static_cast<int16_t>(std::size(kChannels)); ++c) {
    const Channel& channel = kChannels[c];
    device.usbio_comment(c) = channel.name;
    device.usbio_DataLength(c) = channel.length;
    device.usbio_Conversion(c) = channel.conversion;
    device.usbio_multiply(c) = channel.multiply;
    device.usbio_addition(c) = channel.addition;
    device.usbio_analysis(c) = 1;
    device.usbio_round_On(c) = channel.multiply == 1.0 ? 0 : 1;
    device.usbio_round_value(c) = 3;
    for (int16_t b = 0; b < 8; ++b) {
      const int16_t bit = static_cast<int16_t>(c * 8 + b);
      device.bit_LEDColor(bit) = channel.led;
      if (channel.bits[b] != nullptr) device.bit_comment(bit) = channel.bits[b];
    }
  }
}

void ProbeSettings(tavelin::KVR_USB_Probe& probes) {
  for (int16_t d = 0; d < static_cast<int16_t>(std::size(kProbes)); ++d) {
    const Probe& probe = kProbes[d];
    probes.AN_ch_comment(d) = probe.name;
    for (int16_t p = 0; p < 6; ++p) {
      const int16_t pin = static_cast<int16_t>(d * 6 + p);
      probes.AN_pin_comment(pin) = probe.pins[p];
      probes.AN_pin_multiply(pin) = probe.multiply;
      probes.AN_pin_addition(pin) = probe.addition;
      probes.AN_pin_analysis(pin) = 1;
      probes.AN_pin_round_On(pin) = 1;
      probes.AN_pin_round_value(pin) = probe.digits + 1;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bool accepted = argc == 3 && std::string(argv[2]) == "--terms-accepted";
  if (argc != 2 && !accepted) {
    std::fprintf(stderr, "usage: tavelin_demo_settings FOLDER [--terms-accepted]\n");
    return 2;
  }
  const std::string folder = argv[1];
  namespace FileSaveSystem = tavelin::FileSaveSystem;
  for (const char* file :
       {FileSaveSystem::kConfigFile, FileSaveSystem::kChSetFile, FileSaveSystem::kAnSetFile}) {
    if (std::filesystem::exists(std::filesystem::path(folder) / file)) {
      std::fprintf(stderr, "%s holds settings already: left as they are\n", folder.c_str());
      return 1;
    }
  }
  tavelin::ELM327_Info::SetProgramFolder(folder);
  tavelin::ELM327_Info device;
  device.Param_ALL_Clear();
  device.t_ViewCh = 2;  // the labelled LEDs: names, bit names and colours at once
  device.t_LogComment = "デモ ベンチ";
  if (accepted) device.t_TERMS_OF_USE = 1;
  ChannelSettings(device);
  tavelin::KVR_USB_Probe probes{tavelin::UsbProbeEntryPoints{}};
  ProbeSettings(probes);
  const bool written = FileSaveSystem::Write_Config(device, folder) == FileSaveSystem::kWritten &&
                       FileSaveSystem::Write_ChSet(device, folder) == FileSaveSystem::kWritten &&
                       FileSaveSystem::Write_AnSet(probes, folder) == FileSaveSystem::kWritten;
  if (!written) {
    std::fprintf(stderr, "the demo settings cannot be written into %s\n", folder.c_str());
    return 1;
  }
  return 0;
}

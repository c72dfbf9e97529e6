#include "cli/settings_command.h"

#include <cstdio>
#include <iostream>

#include "cli/text_columns.h"
#include "platform/number_text.h"
#include "platform/program_folder.h"
#include "settings/FileSaveSystem.h"

namespace tavelin::cli {
namespace {

using namespace FileSaveSystem;

const char* ReadResultText(int32_t result) {
  switch (result) {
    case kRead:
      return "読みました";
    case kNoFile:
      return "ファイルがありません: 既定値です";
    case kOtherVersion:
      return "別のバージョンのファイルです: ここでは残し、次の起動時に既定値に置き換わります";
    default:
      return "読み込みで誤りがありました: それより前の項目は有効です";
  }
}

std::string Hex(int32_t colour) {
  char text[16];
  std::snprintf(text, sizeof text, "%06X", static_cast<unsigned>(colour));
  return text;
}

}  // namespace

void PrintSettings(const ELM327_Info& device, const KVR_USB_Probe& USB_Probe, std::ostream& out) {
  out << "共通設定\n"
      << "  表示モード         " << device.t_ViewCh << "\n"
      << "  使用許諾           " << device.t_TERMS_OF_USE << "\n"
      << "  ログ出力           " << device.t_LogSave_Enable << " (形式 " << device.t_LogSaveFormat
      << ": 1 xls, 2 csv)\n"
      << "  ログ保存先         " << device.t_LogSaveFilePath_mode
      << " (0 プログラム, 1 デスクトップ, 2 " << device.t_LogSaveFilePath << ")\n"
      << "  サンプリング       " << device.t_LogSampling << " ms\n"
      << "  サブフォルダ       " << device.t_LogSave_subFolder << "\n"
      << "  コメント           " << device.t_LogComment << "\n\n"
      << "デジタル入力\n";
  const auto rounding = [](int32_t on, int32_t digits) {
    return on == 1 ? std::to_string(digits) : std::string("-");
  };
  std::vector<std::vector<std::string>> channels = {{"Ch", "開始", "長さ", "補正", "a", "b", "反転",
                                                     "逆順", "解析", "丸め", "文字", "色", "背景",
                                                     "コメント"}};
  for (int16_t c = 0; c < 16; ++c) {
    channels.push_back(
        {std::to_string(c), std::to_string(device.usbio_StartBit(c)),
         std::to_string(device.usbio_DataLength(c)), std::to_string(device.usbio_Conversion(c)),
         NumberText(device.usbio_multiply(c)), NumberText(device.usbio_addition(c)),
         std::to_string(device.usbio_bit_turn(c)), std::to_string(device.usbio_bit_reverse(c)),
         std::to_string(device.usbio_analysis(c)),
         rounding(device.usbio_round_On(c), device.usbio_round_value(c)),
         std::to_string(device.usbio_Font_size(c)), Hex(device.usbio_FontColor(c)),
         Hex(device.usbio_BackColor(c)), device.usbio_comment(c)});
  }
  out << AlignedRows(channels, "  ");
  out << "ビット (既定と違うものだけ)\n";
  std::vector<std::vector<std::string>> bits = {{"ビット", "LED 色", "反転", "コメント"}};
  for (int16_t b = 0; b < 128; ++b) {
    if (device.bit_LEDColor(b) == 0x00FF00 && device.bit_turn(b) == 0 &&
        device.bit_comment(b).empty()) {
      continue;
    }
    std::string name = "b";  // appended: GCC 12 at -O3 warns falsely of "b" + text
    name += std::to_string(b);
    bits.push_back({name, Hex(device.bit_LEDColor(b)), std::to_string(device.bit_turn(b)),
                    device.bit_comment(b)});
  }
  if (bits.size() > 1) out << AlignedRows(bits, "  ");
  out << "\nアナログ入力\n";
  std::vector<std::vector<std::string>> pins = {
      {"プローブ", "入力", "a", "b", "解析", "丸め", "文字", "コメント"}};
  for (int16_t d = 0; d < 8; ++d) {
    pins.push_back({std::to_string(d), "", "", "", "", "", "", USB_Probe.AN_ch_comment(d)});
    for (int16_t p = d * 6; p < d * 6 + 6; ++p) {
      pins.push_back({"", std::to_string(p), NumberText(USB_Probe.AN_pin_multiply(p)),
                      NumberText(USB_Probe.AN_pin_addition(p)),
                      std::to_string(USB_Probe.AN_pin_analysis(p)),
                      rounding(USB_Probe.AN_pin_round_On(p), USB_Probe.AN_pin_round_value(p)),
                      std::to_string(USB_Probe.AN_pin_Font_size(p)), USB_Probe.AN_pin_comment(p)});
    }
  }
  out << AlignedRows(pins, "  ");
}

int RunSettings(const SettingsOptions& options, const std::string& programFolder) {
  const bool reset = options.reset;
  const bool view = options.view.has_value();
  // The folder the program keeps its settings in: its own, or its data
  // folder when its own is not writable.
  const std::string folder = WritableFolder(programFolder);
  ELM327_Info::SetProgramFolder(folder);
  ELM327_Info device;
  KVR_USB_Probe probe{UsbProbeEntryPoints{}};
  if (view) {
    // Only the display mode changes; everything else stays as read.
    Read_Config(device, folder);
    device.t_ViewCh = *options.view;
    if (Write_Config(device, folder) != kWritten) {
      std::cerr << "tavelin-cli settings: " << folder << " に " << kConfigFile << " を書けません\n";
      return 1;
    }
    std::cout << "表示モード " << device.t_ViewCh << ": " << folder << "/" << kConfigFile << "\n";
    return 0;
  }
  if (reset) {
    const bool written = Write_Config(device, folder) == kWritten &&
                         Write_ChSet(device, folder) == kWritten &&
                         Write_AnSet(probe, folder) == kWritten;
    if (!written) {
      std::cerr << "tavelin-cli settings: " << folder << " に設定ファイルを書けません\n";
      return 1;
    }
    std::cout << "設定を既定に戻しました: " << folder << "\n";
    return 0;
  }
  // Showing changes nothing: a file of another version stays until the
  // program (or a run of record or monitor) starts and replaces it.
  const auto keep = OtherVersion::Keep;
  std::cout << "設定フォルダ: " << folder
            << (folder == programFolder ? "" : " (the program's folder is not writable)") << "\n\n";
  std::cout << kConfigFile << ": " << ReadResultText(Read_Config(device, folder, keep)) << "\n"
            << kChSetFile << ": " << ReadResultText(Read_ChSet(device, folder, keep)) << "\n"
            << kAnSetFile << ": " << ReadResultText(Read_AnSet(probe, folder, keep)) << "\n\n";
  PrintSettings(device, probe, std::cout);
  return 0;
}

}  // namespace tavelin::cli

#pragma once
#include <any>
#include <array>
#include <cstdint>
#include <string>

#include "state/indexed_table.h"

namespace tavelin {

// 0x00BBGGRR
using Colour = int32_t;

constexpr int kChannelEntries = 17;  // channels 0..15 and one spare
constexpr int kBitEntries = 129;     // bits 0..127 and one spare

// Texts that name this build. The notices are identification keys of the
// settings files, so they must stay the same from one start to the next.
namespace identity {
inline constexpr const char* kTitle = "タヴェリン Ver1.11";
inline constexpr const char* kTitleShort = "タヴェリン";
// The notice fits its label of the version box at the dialog's font.
inline constexpr const char* kNotice = "Copyright (C) 2026 Tavelin Project";
inline constexpr const char* kNoticeShort = "Copyright (C) Tavelin Project";
inline constexpr const char* kHomepage = "https://tavelin.example.jp/";
// The home page as the version box shows it, to fit its label.
inline constexpr const char* kHomepageShown = "tavelin.example.jp";
}  // namespace identity

// The one store of identity, common settings and digital channel settings.
class ELM327_Info {
 public:
  ELM327_Info();

  int32_t install_version = 0;
  std::string Application_title;
  std::string AppFileName;
  std::string Copy_light;
  std::string Application_title2;
  std::string Copy_light2;
  std::string Homepage_URL;
  std::string kvr100_DLL_Version;
  std::string kvr_usb_io_DLL_Version;
  std::string kr_usbprobe_Version;
  int32_t ExcelInstallCheck = 0;
  int32_t t_TERMS_OF_USE = 0;
  int32_t t_bitRate = 0;
  int32_t t_msgID_type = 0;
  int32_t t_silent_mode = 0;
  int32_t t_select_Vender = 0;
  std::any t_Hardware_Driver_Enable;
  int32_t t_LogSaveFormat = 0;
  int32_t t_LogSaveFilePath_mode = 0;
  std::string t_LogSaveFilePath;
  int32_t t_LogSave_Enable = 0;
  std::string t_LogComment;
  int32_t t_LogSampling = 0;
  int32_t t_LogSave_subFolder = 0;
  int32_t t_ViewCh = 0;
  int32_t MAX_Ch = 0;
  int32_t MAX_bit = 0;

  // The reserved fields of config.dat, kept as read and written back.
  std::string config_reserved_text1;
  std::array<uint8_t, 8> config_reserved_block{};
  int32_t config_reserved_long = 0;
  std::string config_reserved_text2;

  IndexedTable<int32_t, kChannelEntries> usbio_StartBit;
  IndexedTable<int32_t, kChannelEntries> usbio_DataLength;
  IndexedTable<double, kChannelEntries> usbio_multiply;
  IndexedTable<double, kChannelEntries> usbio_addition;
  IndexedTable<int32_t, kChannelEntries> usbio_Conversion;
  IndexedTable<std::string, kChannelEntries> usbio_comment;
  IndexedTable<int32_t, kChannelEntries> usbio_bit_reverse;
  IndexedTable<int32_t, kChannelEntries> usbio_bit_turn;
  IndexedTable<int32_t, kChannelEntries> usbio_analysis;
  IndexedTable<int32_t, kChannelEntries> usbio_round_On;
  IndexedTable<int32_t, kChannelEntries> usbio_round_value;
  IndexedTable<int32_t, kChannelEntries> usbio_Font_size;
  IndexedTable<Colour, kChannelEntries> usbio_FontColor;
  IndexedTable<Colour, kChannelEntries> usbio_BackColor;

  IndexedTable<std::string, kBitEntries> bit_comment;
  IndexedTable<Colour, kBitEntries> bit_LEDColor;
  IndexedTable<int32_t, kBitEntries> bit_turn;

  // Every field to its default, except usbio_bit_reverse and usbio_bit_turn,
  // which keep what they hold.
  void Param_ALL_Clear();

  // Folder of the program, the default of t_LogSaveFilePath.
  static void SetProgramFolder(std::string folder);

  template <typename Table>
  static void Arayy_ALL_Clear_long(int32_t Arayy_MAX, int32_t SetValue, Table& Arayy) {
    FillTable(Arayy, Arayy_MAX, SetValue);
  }
  template <typename Table>
  static void Arayy_ALL_Clear_double(int32_t Arayy_MAX, double SetValue, Table& Arayy) {
    FillTable(Arayy, Arayy_MAX, SetValue);
  }
  template <typename Table>
  static void Arayy_ALL_Clear_string(int32_t Arayy_MAX, const std::string& SetValue, Table& Arayy) {
    FillTable(Arayy, Arayy_MAX, SetValue);
  }
  template <typename Table>
  static void Arayy_ALL_Clear_byte(int32_t Arayy_MAX, uint8_t SetValue, Table& Arayy) {
    FillTable(Arayy, Arayy_MAX, SetValue);
  }
  template <typename Table>
  static void Arayy_ALL_Clear_integer(int32_t Arayy_MAX, int16_t SetValue, Table& Arayy) {
    FillTable(Arayy, Arayy_MAX, SetValue);
  }
  // Entry i becomes "<i>Ch".
  template <typename Table>
  static void Arayy_ALL_Clear_ch_Comment(int32_t Arayy_MAX, Table& Arayy) {
    for (int32_t i = 0; i <= Arayy_MAX; ++i) Arayy(TableIndex(i)) = std::to_string(i) + "Ch";
  }
};

}  // namespace tavelin

#include "state/ELM327_Info.h"

#include <utility>

namespace tavelin {
namespace {

std::string& ProgramFolder() {
  static std::string folder;
  return folder;
}

}  // namespace

ELM327_Info::ELM327_Info() {
  Param_ALL_Clear();
}

void ELM327_Info::SetProgramFolder(std::string folder) {
  ProgramFolder() = std::move(folder);
}

void ELM327_Info::Param_ALL_Clear() {
  install_version = 111;
  Application_title = identity::kTitle;
  AppFileName = "Tavelin.EXE";
  Copy_light = identity::kNotice;
  Application_title2 = identity::kTitleShort;
  Copy_light2 = identity::kNoticeShort;
  Homepage_URL = identity::kHomepage;
  kvr100_DLL_Version = "Ver1.21";
  kvr_usb_io_DLL_Version = "Ver1.00";
  kr_usbprobe_Version = "Ver1.00";
  ExcelInstallCheck = 0;
  t_TERMS_OF_USE = 0;
  t_bitRate = 2;
  t_msgID_type = 0;
  t_silent_mode = 0;
  t_select_Vender = 0;
  t_Hardware_Driver_Enable.reset();
  t_LogSaveFormat = 1;
  t_LogSaveFilePath_mode = 0;
  t_LogSaveFilePath = ProgramFolder();
  t_LogSave_Enable = 0;
  t_LogComment = "サンプリング ログ";
  t_LogSampling = 300;
  t_LogSave_subFolder = 0;
  t_ViewCh = 1;
  MAX_Ch = 16;
  config_reserved_text1.clear();
  config_reserved_block = {};
  config_reserved_long = 0;
  config_reserved_text2.clear();

  Arayy_ALL_Clear_long(MAX_Ch, 1, usbio_StartBit);
  Arayy_ALL_Clear_long(MAX_Ch, 8, usbio_DataLength);
  Arayy_ALL_Clear_double(MAX_Ch, 1.0, usbio_multiply);
  Arayy_ALL_Clear_double(MAX_Ch, 0.0, usbio_addition);
  Arayy_ALL_Clear_long(MAX_Ch, 0, usbio_Conversion);
  Arayy_ALL_Clear_ch_Comment(MAX_Ch, usbio_comment);
  // usbio_bit_reverse and usbio_bit_turn are left as they are, on purpose.
  Arayy_ALL_Clear_long(MAX_Ch, 0, usbio_analysis);
  Arayy_ALL_Clear_long(MAX_Ch, 0, usbio_round_On);
  Arayy_ALL_Clear_long(MAX_Ch, 1, usbio_round_value);
  Arayy_ALL_Clear_long(MAX_Ch, 20, usbio_Font_size);
  Arayy_ALL_Clear_long(MAX_Ch, 0xE0E0E0, usbio_FontColor);
  Arayy_ALL_Clear_long(MAX_Ch, 0x505050, usbio_BackColor);

  MAX_bit = 128;
  Arayy_ALL_Clear_string(MAX_bit, std::string(), bit_comment);
  Arayy_ALL_Clear_long(MAX_bit, 0x00FF00, bit_LEDColor);
  Arayy_ALL_Clear_long(MAX_bit, 0, bit_turn);
}

}  // namespace tavelin

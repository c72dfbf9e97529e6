#include "devices/KVR_USB_Probe.h"

#include <stdexcept>

#include "devices/entry_point.h"

namespace tavelin {
namespace {

// The library writes where these bounds say; they must lie inside the tables.
void CheckBounds(int32_t max_device, int32_t max_DB, int32_t max_input) {
  if (max_device < 0 || max_device > kProbeEntries - 1 || max_DB < 0 || max_DB > kPinEntries - 1 ||
      max_input < 0 || max_input > 6) {
    throw std::out_of_range("probe bounds beyond the tables: max_device " +
                            std::to_string(max_device) + ", max_DB " + std::to_string(max_DB) +
                            ", max_input " + std::to_string(max_input));
  }
}

}  // namespace

KVR_USB_Probe::KVR_USB_Probe(const UsbProbeEntryPoints& api) : api_(api) {
  Param_ALL_Clear();
}

void KVR_USB_Probe::Param_ALL_Clear() {
  Application_title2 = identity::kTitleShort;
  Copy_light2 = identity::kNoticeShort;
  max_device = 8;
  FindDevice = 0;
  max_input = 6;
  max_DB = 48;

  constexpr int32_t kProbes = kProbeEntries - 1;
  constexpr int32_t kPins = kPinEntries - 1;
  Arayy_ALL_Clear_long(kProbes, -1, DeviceHandle);
  Arayy_ALL_Clear_long(kProbes, -1, HidCh);
  Arayy_ALL_Clear_long(kProbes, 0, DeviceWork_A);
  Arayy_ALL_Clear_long(kProbes, 0, DeviceWork_B);
  Arayy_ALL_Clear_ch_Comment(kProbes, 0, 8, "ch", AN_ch_comment);
  Arayy_ALL_Clear_ch_Comment(kPins, 1, 6, "入力", AN_pin_comment);
  Arayy_ALL_Clear_double(kPins, 1.0, AN_pin_multiply);
  Arayy_ALL_Clear_double(kPins, 0.0, AN_pin_addition);
  Arayy_ALL_Clear_long(kPins, 0, AN_pin_analysis);
  Arayy_ALL_Clear_long(kPins, 0, AN_pin_round_On);
  Arayy_ALL_Clear_long(kPins, 1, AN_pin_round_value);
  Arayy_ALL_Clear_long(kPins, 16, AN_pin_Font_size);
  Arayy_ALL_Clear_long(kPins, 0xE0E0E0, AN_pin_FontColor);
  Arayy_ALL_Clear_long(kPins, 0x505050, AN_pin_BackColor);
  Data_ALL_Clear();
}

void KVR_USB_Probe::Data_ALL_Clear() {
  constexpr int32_t kPins = kPinEntries - 1;
  Arayy_ALL_Clear_long(kPins, 0, USBProbe_AN_Data);
  Arayy_ALL_Clear_double(kPins, 0.0, USBProbe_Value);
  Arayy_ALL_Clear_double(kPins, 0.0, USBProbe_Value_old);
  Arayy_ALL_Clear_double(kPins, 0.0, USBProbe_ValueMAX);
  Arayy_ALL_Clear_double(kPins, 0.0, USBProbe_ValueMIN);
  Arayy_ALL_Clear_double(kPins, 0.0, USBProbe_ValueAVG);
  Arayy_ALL_Clear_long(kProbeEntries - 1, 0, USBProbe_ValueAVG_count);
}

void KVR_USB_Probe::openDevice() {
  CheckBounds(max_device, max_DB, max_input);
  FindDevice = Bound(api_.search_USBProbe, "search_USBProbe")(DeviceHandle.data(), HidCh.data(),
                                                              max_device, DeviceWork_A.data(),
                                                              DeviceWork_B.data(), kUsbProbeKind);
}

void KVR_USB_Probe::closeAllDevice() {
  CheckBounds(max_device, max_DB, max_input);
  Bound(api_.close_All_USBProbe, "close_All_USBProbe")(DeviceHandle.data(), max_device);
}

void KVR_USB_Probe::ReciveData() {
  CheckBounds(max_device, max_DB, max_input);
  Bound(api_.recive_USBProbe, "recive_USBProbe")(DeviceHandle.data(), HidCh.data(), max_device,
                                                 DeviceWork_A.data(), DeviceWork_B.data(),
                                                 USBProbe_AN_Data.data(), max_DB, max_input);
}

void KVR_USB_Probe::DataCalculation() {
  CheckBounds(max_device, max_DB, max_input);
  Bound(api_.dataCalculation_USBProbe, "dataCalculation_USBProbe")(
      HidCh.data(), max_device, USBProbe_Value.data(), AN_pin_multiply.data(),
      AN_pin_addition.data(), AN_pin_round_On.data(), AN_pin_round_value.data(),
      USBProbe_AN_Data.data(), max_DB, max_input);
}

}  // namespace tavelin

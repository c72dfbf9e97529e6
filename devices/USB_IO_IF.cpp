#include "devices/USB_IO_IF.h"

#include <stdexcept>

#include "devices/entry_point.h"

namespace tavelin {
namespace {

// The library works on max_device channels; they must lie inside the tables.
void CheckBounds(int32_t max_device) {
  if (max_device < 0 || max_device > kChannelEntries - 1) {
    throw std::out_of_range("max_device " + std::to_string(max_device) + " beyond the tables");
  }
}

}  // namespace

USB_IO_IF::USB_IO_IF(const UsbIoEntryPoints& api) : api_(api) {
  Param_ALL_Clear();
}

void USB_IO_IF::Param_ALL_Clear() {
  max_device = 16;
  FindDevice = 0;
  constexpr int32_t kUpper = kChannelEntries - 1;
  Arayy_ALL_Clear_long(kUpper, -1, DeviceHandle);
  Arayy_ALL_Clear_long(kUpper, -1, HidCh);
  Arayy_ALL_Clear_long(kUpper, 0, DeviceWork_A);
  Arayy_ALL_Clear_long(kUpper, 0, DeviceWork_B);
  Data_ALL_Clear();
}

void USB_IO_IF::Data_ALL_Clear() {
  constexpr int32_t kChannels = kChannelEntries - 1;
  constexpr int32_t kBits = kBitEntries - 1;
  Arayy_ALL_Clear_long(kChannels, 0, USBIO_J1_Data);
  Arayy_ALL_Clear_long(kBits, 0, USBIO_J1_Data_Bit);
  Arayy_ALL_Clear_long(kChannels, 0, USBIO_J1_MakeData);
  Arayy_ALL_Clear_long(kBits, 0, USBIO_J1_MakeData_Bit);
  Arayy_ALL_Clear_double(kChannels, 0.0, USBIO_Value);
  Arayy_ALL_Clear_double(kChannels, 0.0, USBIO_Value_old);
  Arayy_ALL_Clear_double(kChannels, 0.0, USBIO_ValueMAX);
  Arayy_ALL_Clear_double(kChannels, 0.0, USBIO_ValueMIN);
  Arayy_ALL_Clear_double(kChannels, 0.0, USBIO_ValueAVG);
  Arayy_ALL_Clear_long(kChannels, 0, USBIO_ValueAVG_count);
}

void USB_IO_IF::Data_ALL_Set(const ELM327_Info& device) {
  for (int16_t c = 0; c < 16; ++c) {
    usbio_StartBit(c) = device.usbio_StartBit(c);
    usbio_DataLength(c) = device.usbio_DataLength(c);
    usbio_bit_reverse(c) = device.usbio_bit_reverse(c);
    usbio_bit_turn(c) = device.usbio_bit_turn(c);
    usbio_multiply(c) = device.usbio_multiply(c);
    usbio_addition(c) = device.usbio_addition(c);
    usbio_Conversion(c) = device.usbio_Conversion(c);
    usbio_round_On(c) = device.usbio_round_On(c);
    usbio_round_value(c) = device.usbio_round_value(c);
  }
}

void USB_IO_IF::Search(int32_t kind) {
  CheckBounds(max_device);
  FindDevice =
      Bound(api_.search_USBIO, "search_USBIO")(DeviceHandle.data(), HidCh.data(), max_device,
                                               DeviceWork_A.data(), DeviceWork_B.data(), kind);
}

void USB_IO_IF::openDevice() {
  Search(kUsbIoKindPrepared);
}

void USB_IO_IF::searchDevice() {
  Search(kUsbIoKindAll);
}

void USB_IO_IF::closeAllDevice() {
  CheckBounds(max_device);
  Bound(api_.close_All_USBIO, "close_All_USBIO")(DeviceHandle.data(), max_device);
}

void USB_IO_IF::ReciveData() {
  CheckBounds(max_device);
  Bound(api_.recive_USBIO, "recive_USBIO")(
      DeviceHandle.data(), HidCh.data(), max_device, DeviceWork_A.data(), DeviceWork_B.data(),
      USBIO_J1_Data.data(), USBIO_J1_Data_Bit.data(), usbio_StartBit.data(),
      usbio_DataLength.data(), USBIO_J1_MakeData.data(), USBIO_J1_MakeData_Bit.data(),
      usbio_bit_reverse.data(), usbio_bit_turn.data());
}

int32_t USB_IO_IF::setting_writeDevice() {
  CheckBounds(max_device);
  return Bound(api_.setting_write_USBIO, "setting_write_USBIO")(
      DeviceHandle.data(), max_device, DeviceWork_A.data(), DeviceWork_B.data());
}

void USB_IO_IF::DataCalculation() {
  CheckBounds(max_device);
  Bound(api_.dataCalculation_USBIO, "dataCalculation_USBIO")(
      HidCh.data(), max_device, USBIO_Value.data(), usbio_multiply.data(), usbio_addition.data(),
      usbio_Conversion.data(), usbio_round_On.data(), usbio_round_value.data(),
      USBIO_J1_MakeData.data(), USBIO_J1_MakeData_Bit.data(), usbio_StartBit.data(),
      usbio_DataLength.data());
}

}  // namespace tavelin

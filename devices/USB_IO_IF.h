#pragma once
#include <cstdint>

#include "devices/device_libraries.h"
#include "state/ELM327_Info.h"
#include "state/indexed_table.h"

namespace tavelin {

// The digital device layer: the tables that cross into kvr_usb_io, the last
// sample of all sixteen channels, and a private copy of the conversion
// settings taken at each Connect.
class USB_IO_IF {
 public:
  explicit USB_IO_IF(const UsbIoEntryPoints& api = {});

  // The library's entry points, when they are known only after the clear
  // of the start-up. A call through an entry point not bound throws.
  void Bind(const UsbIoEntryPoints& api) { api_ = api; }

  int32_t max_device = 16;
  int16_t FindDevice = 0;

  IndexedTable<int32_t, kChannelEntries> HidCh;
  IndexedTable<int32_t, kChannelEntries> USBIO_J1_Data;
  IndexedTable<int32_t, kBitEntries> USBIO_J1_Data_Bit;
  IndexedTable<int32_t, kChannelEntries> USBIO_J1_MakeData;
  IndexedTable<int32_t, kBitEntries> USBIO_J1_MakeData_Bit;
  IndexedTable<double, kChannelEntries> USBIO_Value;
  IndexedTable<double, kChannelEntries> USBIO_Value_old;
  IndexedTable<double, kChannelEntries> USBIO_ValueMAX;
  IndexedTable<double, kChannelEntries> USBIO_ValueMIN;
  IndexedTable<double, kChannelEntries> USBIO_ValueAVG;
  IndexedTable<int32_t, kChannelEntries> USBIO_ValueAVG_count;

  void Param_ALL_Clear();
  void Data_ALL_Clear();
  // Copies channels 0..15 of the conversion settings; entry 16 stays.
  void Data_ALL_Set(const ELM327_Info& device);

  template <typename Table>
  static void Arayy_ALL_Clear_double(int32_t upper, double value, Table& table) {
    FillTable(table, upper, value);
  }

  // Modules prepared for this system (kind 184).
  void openDevice();
  // Every module, prepared or not (kind 0).
  void searchDevice();
  void closeAllDevice();
  void ReciveData();
  int32_t setting_writeDevice();
  void DataCalculation();

 private:
  template <typename Table>
  static void Arayy_ALL_Clear_long(int32_t upper, int32_t value, Table& table) {
    FillTable(table, upper, value);
  }
  template <typename Table>
  static void Arayy_ALL_Clear_byte(int32_t upper, uint8_t value, Table& table) {
    FillTable(table, upper, value);
  }
  void Search(int32_t kind);

  UsbIoEntryPoints api_;
  IndexedTable<int32_t, kChannelEntries> DeviceHandle;
  IndexedTable<int32_t, kChannelEntries> DeviceWork_A;
  IndexedTable<int32_t, kChannelEntries> DeviceWork_B;

  IndexedTable<int32_t, kChannelEntries> usbio_StartBit;
  IndexedTable<int32_t, kChannelEntries> usbio_DataLength;
  IndexedTable<int32_t, kChannelEntries> usbio_bit_reverse;
  IndexedTable<int32_t, kChannelEntries> usbio_bit_turn;
  IndexedTable<double, kChannelEntries> usbio_multiply;
  IndexedTable<double, kChannelEntries> usbio_addition;
  IndexedTable<int32_t, kChannelEntries> usbio_Conversion;
  IndexedTable<int32_t, kChannelEntries> usbio_round_On;
  IndexedTable<int32_t, kChannelEntries> usbio_round_value;
};

}  // namespace tavelin

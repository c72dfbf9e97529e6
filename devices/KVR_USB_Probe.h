#pragma once
#include <cstdint>
#include <string>

#include "devices/device_libraries.h"
#include "state/ELM327_Info.h"
#include "state/indexed_table.h"

namespace tavelin {

constexpr int kProbeEntries = 9;  // probes 0..7 and one spare
constexpr int kPinEntries = 49;   // pins 0..47 and one spare

// The analog device layer. Unlike the digital one it owns the settings of
// its pins, which an_set.dat stores and a re-search resets.
class KVR_USB_Probe {
 public:
  explicit KVR_USB_Probe(const UsbProbeEntryPoints& api = {});

  // The library's entry points, when they are known only after the clear
  // of the start-up. A call through an entry point not bound throws.
  void Bind(const UsbProbeEntryPoints& api) { api_ = api; }

  std::string Application_title2;
  std::string Copy_light2;
  int32_t max_device = 8;
  int32_t FindDevice = 0;
  int32_t max_input = 6;
  int32_t max_DB = 48;

  IndexedTable<int32_t, kProbeEntries> HidCh;
  IndexedTable<int32_t, kPinEntries> USBProbe_AN_Data;
  IndexedTable<double, kPinEntries> USBProbe_Value;
  IndexedTable<double, kPinEntries> USBProbe_Value_old;
  IndexedTable<double, kPinEntries> USBProbe_ValueMAX;
  IndexedTable<double, kPinEntries> USBProbe_ValueMIN;
  IndexedTable<double, kPinEntries> USBProbe_ValueAVG;
  // One count per probe, shared by its pins.
  IndexedTable<int32_t, kProbeEntries> USBProbe_ValueAVG_count;
  IndexedTable<std::string, kProbeEntries> AN_ch_comment;
  IndexedTable<std::string, kPinEntries> AN_pin_comment;
  IndexedTable<double, kPinEntries> AN_pin_multiply;
  IndexedTable<double, kPinEntries> AN_pin_addition;
  IndexedTable<int32_t, kPinEntries> AN_pin_analysis;
  IndexedTable<int32_t, kPinEntries> AN_pin_round_On;
  IndexedTable<int32_t, kPinEntries> AN_pin_round_value;
  IndexedTable<int32_t, kPinEntries> AN_pin_Font_size;
  IndexedTable<Colour, kPinEntries> AN_pin_FontColor;
  IndexedTable<Colour, kPinEntries> AN_pin_BackColor;

  void Param_ALL_Clear();
  void Data_ALL_Clear();

  template <typename Table>
  static void Arayy_ALL_Clear_double(int32_t upper, double value, Table& table) {
    FillTable(table, upper, value);
  }
  // Entry i gets n followed by `suffix`; n runs from `first` to `last` and
  // starts again.
  template <typename Table>
  static void Arayy_ALL_Clear_ch_Comment(int32_t upper, int32_t first, int32_t last,
                                         const std::string& suffix, Table& table) {
    int32_t n = first;
    for (int32_t i = 0; i <= upper; ++i) {
      table(TableIndex(i)) = std::to_string(n) + suffix;
      n = n < last ? n + 1 : first;
    }
  }

  void openDevice();
  // Nothing calls it: probes stay open for the life of the process.
  void closeAllDevice();
  void ReciveData();
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

  UsbProbeEntryPoints api_;
  IndexedTable<int32_t, kProbeEntries> DeviceHandle;
  IndexedTable<int32_t, kProbeEntries> DeviceWork_A;
  IndexedTable<int32_t, kProbeEntries> DeviceWork_B;
};

}  // namespace tavelin

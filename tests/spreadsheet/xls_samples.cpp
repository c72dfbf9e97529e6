// Writes sample workbooks through the log writer, for readers nobody here
// wrote to check: xls_samples OUTPUT_FOLDER.
#include <filesystem>
#include <functional>
#include <iostream>

#include "logging/Excel_OutputDB.h"
#include "logging/log_test_support.h"

namespace fs = std::filesystem;
using namespace tavelin;

namespace {

const LocalTime kWhen{2026, 3, 2, 14, 5, 9};

// One logged buffer written as a workbook and renamed to `name`.
void Sample(const fs::path& out, const std::string& name, int32_t mode,
            const std::function<void(test::HandFilledDevices&, ELM327_Info&)>& setUp, int rows,
            const std::function<void(test::HandFilledDevices&, int)>& perRow = {}) {
  test::TempFolder folder;
  test::HandFilledDevices devices;
  ELM327_Info device;
  device.t_ViewCh = mode;
  device.t_LogSaveFormat = 1;
  device.ExcelInstallCheck = 1;
  device.t_LogComment = "炉 A, 昇温";
  setUp(devices, device);
  Excel_OutputDB log({[] { return kWhen; }, [] {}, folder.Path().string(), ""});
  log.Param_ALL_Clear();
  log.objExcel = std::make_shared<ExcelApplication>();
  std::vector<double> times;
  for (int row = 0; row < rows; ++row) times.push_back(row * 300.5);
  devices.LogAndWrite(log, device, times, [&](int row) {
    if (perRow) perRow(devices, row);
  });
  fs::rename(folder.Path() / "SD26030214-001.xls", out / name);
  if (log.Time_ID_DLC_Data1().Get(0, 0) != "") throw std::logic_error("the array was not emptied");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: xls_samples OUTPUT_FOLDER\n";
    return 2;
  }
  const fs::path out = argv[1];
  fs::create_directories(out);

  Sample(
      out, "bit.xls", 1,
      [](test::HandFilledDevices& d, ELM327_Info& device) {
        d.PlugModules({0, 3});
        device.usbio_comment(0) = "圧力";
        for (int16_t s : {0, 7, 24, 26}) d.USB_IO.USBIO_J1_MakeData_Bit(s) = 1;
      },
      3);
  Sample(
      out, "bit_full.xls", 2,
      [](test::HandFilledDevices& d, ELM327_Info&) {
        for (int16_t c = 0; c < 16; ++c) d.USB_IO.HidCh(c) = 0;
        d.USB_IO.FindDevice = 16;
      },
      20001,
      [](test::HandFilledDevices& d, int row) {
        for (int16_t s = 0; s < 128; ++s) d.USB_IO.USBIO_J1_MakeData_Bit(s) = (row + s) & 1;
      });
  Sample(
      out, "ch.xls", 3,
      [](test::HandFilledDevices& d, ELM327_Info& device) {
        d.PlugModules({1, 2});
        device.usbio_comment(1) = "温度";
        d.USB_IO.USBIO_Value(1) = -2.5;
        d.USB_IO.USBIO_Value(2) = 1.0 / 3.0;
      },
      2);
  Sample(
      out, "an.xls", 4,
      [](test::HandFilledDevices& d, ELM327_Info&) {
        d.PlugProbes({0, 2});
        d.USB_Probe.AN_ch_comment(2) = "流量";
        d.USB_Probe.USBProbe_Value(12) = 4095;
        d.USB_Probe.USBProbe_Value(17) = 0.5;
      },
      2);
  Sample(
      out, "empty.xls", 3, [](test::HandFilledDevices& d, ELM327_Info&) { d.PlugModules({0}); }, 0);
  Sample(
      out, "none.xls", 1, [](test::HandFilledDevices&, ELM327_Info&) {}, 2);
  // Bytes that are no UTF-8: each broken sequence is one "?", and nothing
  // after it is lost.
  Sample(
      out, "broken_text.xls", 3,
      [](test::HandFilledDevices& d, ELM327_Info& device) {
        d.PlugModules({0});
        device.t_LogComment =
            "\xF0"
            "ABC";
        device.usbio_comment(0) = "炉\xED\xA0\x80温";
      },
      1);

  // Many shared strings: the table runs over into CONTINUE records, one
  // string across a record's end.
  ExcelApplication excel;
  excel.Workbooks().Add();
  Worksheet& sheet = excel.ActiveSheet();
  for (int i = 0; i < 3000; ++i) sheet.cells(i + 1, 1).value("測定点" + std::to_string(i));
  std::string longText;
  for (int i = 0; i < 5000; ++i) longText += "長";
  sheet.cells(1, 2).value(longText);
  sheet.cells(2, 2).value("plain latin text");
  excel.ActiveWorkbook().SaveAs((out / "strings.xls").string());
  std::cout << "samples in " << out.string() << "\n";
  return 0;
}

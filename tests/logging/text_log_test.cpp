// Whole csv files of each kind, read back from CP932.
#include <gtest/gtest.h>

#include "logging/Excel_OutputDB.h"
#include "logging/log_test_support.h"

namespace tavelin {
namespace {

using test::ReadBytes;
using test::ReadLog;

const std::string kTop =
    "タヴェリン Ver1.11,,,Copyright (C) 2026 Tavelin Project,,,,"
    "https://tavelin.example.jp/\r\n\r\nDate:  2026/03/02 14:05:09";

class TextLog : public ::testing::Test {
 protected:
  TextLog() {
    device.t_LogSaveFormat = 2;
    device.t_LogComment = "炉 A, 昇温\r\n2回目";
  }

  // Header built at run start, rows added, then buffer 1 written.
  std::string WriteWithRows(int32_t mode, const std::vector<double>& times) {
    device.t_ViewCh = mode;
    devices.LogAndWrite(log, device, times);
    path = bench.program.Path() / ("SD26030214-001.csv");
    return ReadLog(path);
  }

  test::LogBench bench;
  test::HandFilledDevices devices;
  ELM327_Info device;
  Excel_OutputDB log{bench.Environment()};
  std::filesystem::path path;
};

TEST_F(TextLog, BitKindWithTwoModules) {
  devices.PlugModules({0, 3});
  for (int16_t s : {0, 7, 24, 26}) devices.USB_IO.USBIO_J1_MakeData_Bit(s) = 1;
  const std::string file = WriteWithRows(1, {9.5, 1200, 99999999, 100000000});
  const std::string blanks21(21, ' ');
  const std::string rowBits =
      " , 1 , 0 , 0 , 0 , 0 , 0 , 0 , 1 , 1 , 0 , 1 , 0 , 0 , 0 , 0 , 0 , \r\n";
  EXPECT_EQ(file,
            kTop + "\r\n炉 A, 昇温\r\n2回目\r\n\r\n" + "          ,ch0,,,,,,," + blanks21 +
                ",ch3,,,,,,," + blanks21 + "\r\n" +
                "時間[ms]  ,b0 ,b1 ,b2 ,b3 ,b4 ,b5 ,b6 ,b7 ,b0 ,b1 ,b2 ,b3 ,b4 ,b5 ,b6 ,b7 ,\r\n" +
                "        9.5" + rowBits + "     1200" + rowBits + " 99999999" + rowBits +
                "100000000" + rowBits);
  EXPECT_EQ(log.Excel_ColumnTitle.size(), 17u);
  EXPECT_EQ(log.Excel_ColumnTitle[0], "経過時間 [ms]");
  EXPECT_EQ(log.Excel_ColumnTitle[9], "b0");
}

TEST_F(TextLog, ValueKindHasNoSeparatorBehindTheLastCell) {
  devices.PlugModules({1, 2});
  device.usbio_comment(1) = "圧力";
  devices.USB_IO.USBIO_Value(1) = -2.5;
  devices.USB_IO.USBIO_Value(2) = 1.0 / 3.0;
  const std::string file = WriteWithRows(3, {0.25});
  EXPECT_EQ(file, kTop + "\r\n炉 A, 昇温\r\n2回目\r\n\r\n" + "ch1 ：圧力\r\nch2 ：2Ch\r\n\r\n" +
                      "時間[ms]  ,ch1 ,ch2 \r\n" + "        0.25 , -2.5 , 0.333333333333333\r\n");
  EXPECT_EQ(log.Excel_ColumnTitle[2], "ch2");
}

TEST_F(TextLog, AnalogKindSeparatesEveryCell) {
  devices.PlugProbes({0, 2});
  devices.USB_Probe.USBProbe_Value(12) = 4095;
  devices.USB_Probe.USBProbe_Value(17) = 0.5;
  const std::string file = WriteWithRows(4, {30});
  std::string titles = "時間[ms]  ,";
  for (int probe : {0, 2}) {
    for (int k = 1; k <= 6; ++k) {
      titles += "Ch" + std::to_string(probe) + "-" + std::to_string(k) + " ";
      if (!(probe == 2 && k == 6)) titles += ",";
    }
  }
  EXPECT_EQ(file, kTop + "\r\n炉 A, 昇温\r\n2回目\r\n\r\n" + "ch0 ：0ch\r\nch2 ：2ch\r\n\r\n" +
                      titles + "\r\n" +
                      "       30 , 0 , 0 , 0 , 0 , 0 , 0 , 4095 , 0 , 0 , 0 , 0 , 0.5 , \r\n");
  EXPECT_EQ(log.Excel_ColumnTitle[12], "入力6");
}

TEST_F(TextLog, NoModuleGivesTenBlanksAndBareTimes) {
  const std::string file = WriteWithRows(2, {12});
  EXPECT_NE(file.find("\r\n          \r\n時間[ms]  ,\r\n       12 , \r\n"), std::string::npos)
      << file;
}

TEST_F(TextLog, TheCounterNotTheBufferDecidesWhetherRowsAreWritten) {
  devices.PlugModules({0});
  device.t_ViewCh = 1;
  log.csv_DB_Initialize(0, nullptr, devices.USB_IO, device);
  log.Excel_DataInput(devices.USB_IO, device, 5);
  log.Excel_DB_ArayyCounter = 0;  // as at a rollover
  std::string date, number;
  log.Excel_DataOutput(1, nullptr, devices.USB_IO, device, date, number, "");
  const std::string file = ReadLog(bench.program.Path() / "SD26030214-001.csv");
  EXPECT_EQ(file.find("       5 , "), std::string::npos);
  EXPECT_EQ(log.csv_DB1.Text(), "");  // and the rows are gone
}

TEST_F(TextLog, ABrokenCommentLosesNothingAfterIt) {
  device.t_LogComment =
      "\xF0"
      "ABC";
  devices.PlugModules({0});
  device.usbio_comment(0) =
      "\xE3\x81"
      "x";
  WriteWithRows(3, {1});
  const std::string bytes = ReadBytes(path);
  EXPECT_NE(bytes.find("\r\n?ABC\r\n\r\nch0 \x81\x46?x\r\n"), std::string::npos) << bytes;
}

// Without the workbook application nothing is written, and the rows are
// not emptied: new rows go over them.
TEST_F(TextLog, TheSpreadsheetFormatWritesAWorkbookAndNoTextOrNothingWithoutItsApplication) {
  device.t_LogSaveFormat = 1;
  devices.PlugModules({0});
  for (const int16_t installed : {0, 1}) {
    device.ExcelInstallCheck = installed;
    if (installed) log.objExcel = std::make_shared<ExcelApplication>();
    WriteWithRows(1, {1});
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::exists(bench.program.Path() / "SD26030214-001.xls"), installed);
    EXPECT_EQ(log.Time_ID_DLC_Data1().Get(0, 0), installed ? "" : "1");
  }
}

}  // namespace
}  // namespace tavelin

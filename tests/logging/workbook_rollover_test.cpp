// A workbook of a rollover is saved while the rows go on into the other
// buffer: told once it is whole and in place, in the order files began.
#include <gtest/gtest.h>

#include "logging/Excel_OutputDB.h"
#include "logging/log_test_support.h"
#include "platform/file_system.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

struct Told {
  std::string path;
  bool whole;  // in place, with its bytes, when it was told
  int64_t rows;
};

class WorkbookRollover : public ::testing::Test {
 protected:
  WorkbookRollover() {
    device.t_ViewCh = 1;
    device.t_LogSaveFormat = 1;
    device.ExcelInstallCheck = 1;
    devices.PlugModules({0, 3});
    LogEnvironment environment = bench.Environment();
    environment.logWritten = [this](const WrittenLog& log) {
      told.push_back({log.path, fs::is_regular_file(log.path) && fs::file_size(log.path) > 4096,
                      log.rowsInFile});
    };
    environment.nameTaken = [this](const TakenLog& taken) {
      if (onNameTaken) onNameTaken(taken.path);
    };
    log = std::make_unique<Excel_OutputDB>(environment);
    log->objExcel = std::make_shared<ExcelApplication>();
    log->csv_DB_Initialize(0, &devices.USB_Probe, devices.USB_IO, device);
  }

  void AddRows(int rows) {
    for (int r = 0; r < rows; ++r) {
      devices.USB_IO.USBIO_J1_MakeData_Bit(1) = r & 1;
      log->Excel_DataInput(devices.USB_IO, device, ++time);
      log->RollOverWhenFull([this](int32_t Output_ch) { Write(Output_ch); });
    }
  }

  void Write(int32_t Output_ch) {
    log->Excel_DataOutput(Output_ch, &devices.USB_Probe, devices.USB_IO, device, date, number, "");
  }

  std::vector<std::string> HiddenFiles() const {
    std::vector<std::string> hidden;
    for (const auto& entry : fs::directory_iterator(bench.program.Path())) {
      if (entry.path().filename().string()[0] == '.') hidden.push_back(entry.path());
    }
    return hidden;
  }

  test::LogBench bench;
  test::HandFilledDevices devices;
  ELM327_Info device;
  std::unique_ptr<Excel_OutputDB> log;
  std::function<void(const std::string&)> onNameTaken;
  std::vector<Told> told;
  std::string date, number;
  double time = 0.0;
};

TEST_F(WorkbookRollover, IsSavedWhileRowsGoOnAndToldOnceWholeInTheOrderFilesBegan) {
  AddRows(20001 + 5);  // the row after the full buffer rolls over; four go on into buffer 2
  EXPECT_EQ(log->Excel_DB_ArayyCh, 2);
  EXPECT_EQ(log->Time_ID_DLC_Data2().Get(3, 0), "20005");
  Write(2);  // the end of the run waits for the rollover's save first
  ASSERT_EQ(told.size(), 2u);
  EXPECT_EQ(fs::path(told[0].path).filename(), "SD26030214-001.xls");
  EXPECT_EQ(fs::path(told[1].path).filename(), "SD26030214-002.xls");
  EXPECT_TRUE(told[0].whole && told[1].whole);
  EXPECT_EQ(told[0].rows, 20001);
  EXPECT_EQ(told[1].rows, 5);
  EXPECT_EQ(log->RowsInFiles(), 20006);
  EXPECT_EQ(log->Time_ID_DLC_Data1().Get(0, 0), "");  // emptied by its save
  EXPECT_TRUE(HiddenFiles().empty());
}

// The save fails on its thread (here its name turned into a folder): the
// failure comes out where it is collected, nothing is told, nothing half
// written stays, and the rows stay in the buffer.
TEST_F(WorkbookRollover, ASaveThatFailsThrowsWhereItIsCollectedAndLeavesNothingHalfWritten) {
  onNameTaken = [](const std::string& path) {
    fs::remove(path);
    fs::create_directories(fs::path(path) / "in the way");
  };
  AddRows(20001);
  EXPECT_THROW(log->CollectFiles(), FileError);
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(log->FilesWritten(), 0);
  EXPECT_TRUE(HiddenFiles().empty());
  EXPECT_EQ(log->Time_ID_DLC_Data1().Get(20000, 0), "20001");
  EXPECT_NO_THROW(log->CollectFiles());  // collected once
}

}  // namespace
}  // namespace tavelin

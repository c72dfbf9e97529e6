#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "logging/StringBuilder.h"
#include "logging/log_environment.h"
#include "logging/log_names.h"
#include "platform/background_task.h"
#include "spreadsheet/ExcelApplication.h"
#include "spreadsheet/compact_cell_table.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// The log writer of a sampling run: rows go to a memory buffer, and a file
// is written at each rollover and at the end of the run. The text log is
// csv in CP932; the spreadsheet log writes .xls. A workbook of a rollover is
// saved on a thread of its own while the rows go on into the other buffer,
// so sampling does not stop for it; it counts as written, and is told, once
// collected: at the first pass that finds it done, or before the next file.
class Excel_OutputDB {
 public:
  explicit Excel_OutputDB(LogEnvironment environment);

  int32_t Excel_DB_ArayyCounter = 0;
  int32_t Excel_DB_ArayyCounter_MAX = 20000;
  int32_t Excel_DB_ArayyCh = 1;
  double StartTime = 0.0;
  double hardware_information = 0.0;
  std::shared_ptr<ExcelApplication> objExcel;

  // The row buffers of the spreadsheet log, 20,001 rows of 129 texts; their
  // Get and Let take the row and the column.
  CompactCellTable& Time_ID_DLC_Data1() { return data1_; }
  CompactCellTable& Time_ID_DLC_Data2() { return data2_; }
  static void Arayy_ALL_Clear_zero_string(int32_t rows, int32_t columns, CompactCellTable& array);

  std::vector<std::string> Excel_ColumnTitle;
  std::string csv_Header_Top;
  std::string csv_Header_Bottom;
  StringBuilder csv_DB1;
  StringBuilder csv_DB2;

  void Param_ALL_Clear();

  // Rows: one per log tick, into the active buffer.
  void Excel_DataInput(USB_IO_IF& USB_IO, ELM327_Info& device, double now_time);
  void Excel_DataInput_for_bit(USB_IO_IF& USB_IO, ELM327_Info& device, double now_time);
  void Excel_DataInput_for_ch(USB_IO_IF& USB_IO, ELM327_Info& device, double now_time);
  void Excel_AN_DataInput(KVR_USB_Probe& USB_Probe, USB_IO_IF& USB_IO, ELM327_Info& device,
                          double now_time);
  void DataInput_for_bit_to_text(StringBuilder& buffer, USB_IO_IF& USB_IO, double now_time);
  void DataInput_for_ch_to_text(StringBuilder& buffer, USB_IO_IF& USB_IO, double now_time);
  void DataInput_for_AN_to_text(StringBuilder& buffer, KVR_USB_Probe& USB_Probe, double now_time);
  void DataInput_for_bit_to_excel(CompactCellTable& array, USB_IO_IF& USB_IO, double now_time);
  void DataInput_for_ch_to_excel(CompactCellTable& array, USB_IO_IF& USB_IO, double now_time);
  void DataInput_for_AN_to_excel(CompactCellTable& array, KVR_USB_Probe& USB_Probe,
                                 double now_time);

  // Files: buffer Output_ch (1 or 2) to a new log file.
  void Excel_DataOutput(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                        ELM327_Info& device, std::string& FileName_Date, std::string& FileName_No,
                        const std::string& FolderName);
  void Excel_DataOutput_for_bit(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                                ELM327_Info& device, std::string& FileName_Date,
                                std::string& FileName_No, const std::string& FolderName);
  void Excel_DataOutput_for_ch(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                               ELM327_Info& device, std::string& FileName_Date,
                               std::string& FileName_No, const std::string& FolderName);

  // Headers (cmd_ch 0, at run start) or the clearing of one buffer (1, 2).
  void csv_DB_Initialize(int32_t cmd_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                         ELM327_Info& device);
  void csv_DB_Initialize_for_bit(int32_t cmd_ch, USB_IO_IF& USB_IO, ELM327_Info& device);
  void csv_DB_Initialize_for_ch(int32_t cmd_ch, USB_IO_IF& USB_IO, ELM327_Info& device);
  void csv_DB_Initialize_for_AN(int32_t cmd_ch, KVR_USB_Probe& USB_Probe, ELM327_Info& device);

  void Get_SubFolder_Name(ELM327_Info& device, std::string& FolderName);

  // Why the folder of the next log would take no file, or nothing.
  std::optional<std::string> LogFolderRefusal(ELM327_Info& device) const;

  // After a row: a full buffer goes to a file of its own (`writeFile` with
  // its Output_ch) and the other buffer takes over. The counter goes to 0
  // first, so a csv file written here holds its header alone.
  void RollOverWhenFull(const std::function<void(int32_t Output_ch)>& writeFile);
  // Collects a workbook saved in the background once it is done, without
  // waiting: called every pass, so that it is told (and noted in the
  // journal) as soon as it is in place. Throws FileError if it failed.
  void CollectFinishedFiles();
  // Waits for a workbook still being saved; throws FileError if it failed.
  void CollectFiles();

  const LogEnvironment& Environment() const { return environment_; }

  // Rows and files this writer has made, for a progress display: rows
  // logged, rows that went into files, rows a csv rollover left out.
  int64_t RowsLogged() const { return rowsLogged_; }
  int64_t RowsInFiles() const { return rowsInFiles_; }
  int64_t RowsDiscarded() const { return rowsDiscarded_; }
  int32_t FilesWritten() const { return filesWritten_; }

 private:
  // The spreadsheet branches of the two kinds of file.
  void WriteBitWorkbook(int32_t Output_ch, USB_IO_IF& USB_IO, ELM327_Info& device,
                        std::string& FileName_Date, std::string& FileName_No,
                        const std::string& FolderName);
  void WriteChWorkbook(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                       ELM327_Info& device, std::string& FileName_Date, std::string& FileName_No,
                       const std::string& FolderName);
  int16_t StartExcelRow(CompactCellTable& array, double now_time);
  void FinishExcelRow();
  CompactCellTable& ActiveArray() { return Excel_DB_ArayyCh == 1 ? data1_ : data2_; }
  ExcelApplication& Application();
  // The text branch, the same for both kinds of file.
  void WriteTextLog(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                    ELM327_Info& device, std::string& FileName_Date, std::string& FileName_No,
                    const std::string& FolderName);
  // Clears buffer 1 or 2 after a file, or builds the headers for cmd_ch 0.
  bool ClearForCommand(int32_t cmd_ch);
  void BeginRow(double now_time);
  void EndRow(StringBuilder& buffer);

  // The name of buffer Output_ch's file is taken: told before the write.
  void TellNameTaken(const LogFileName& name, int32_t Output_ch);
  // A file of buffer Output_ch is written: counted, and told.
  void FileWritten(int32_t Output_ch, const LogFileName& name, bool rowsKept);
  // Steps 11 to 13 of both workbook kinds: yield, save, close, and empty the
  // array; in the background at a rollover.
  void SaveWorkbook(ExcelApplication& excel, const LogFileName& name, TakenLogName& taken,
                    int32_t Output_ch, CompactCellTable& array);
  int64_t& BufferRows(int32_t Output_ch) { return bufferRows_[Output_ch == 1 ? 0 : 1]; }

  LogEnvironment environment_;
  int64_t bufferRows_[2] = {0, 0};  // rows added to each buffer since its last file
  int64_t rowsInFiles_ = 0;
  int64_t rowsDiscarded_ = 0;
  CompactCellTable data1_;
  CompactCellTable data2_;
  std::string row_;
  int64_t rowsLogged_ = 0;
  int32_t filesWritten_ = 0;
  bool rollingOver_ = false;
  // The workbook being saved in the background. Declared after the arrays
  // it reads, so that it is waited for before they go.
  struct WorkbookInFlight {
    LogFileName name;
    int32_t Output_ch = 1;
    std::unique_ptr<BackgroundTask> save;
  };
  std::optional<WorkbookInFlight> inFlight_;
};

}  // namespace tavelin

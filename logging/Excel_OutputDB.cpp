#include "logging/Excel_OutputDB.h"

#include <stdexcept>

#include "logging/log_names.h"
#include "platform/code_page.h"
#include "platform/file_system.h"
#include "platform/number_text.h"

namespace tavelin {
namespace {

constexpr const char* kLineEnd = "\r\n";
constexpr const char* kCellEnd = " , ";
constexpr const char* kTimeTitle = "時間[ms]  ,";

KVR_USB_Probe& Probe(KVR_USB_Probe* probe) {
  if (probe == nullptr) throw std::logic_error("the analog log needs USB_Probe");
  return *probe;
}

// Blanks in front of the time, by its size only: about nine characters.
int TimeBlanks(double now_time) {
  int blanks = 8;
  for (double limit = 10.0; blanks > 0 && now_time >= limit; limit *= 10.0) --blanks;
  return blanks;
}

void AppendNumber(std::string& out, double value) {
  char text[kNumberTextSize];
  out += WriteNumberText(value, text);
}

// A label and its number: "ch3", "b7".
std::string Numbered(const char* label, long long number) {
  return std::string(label).append(DecimalText(number));
}

// Titles of the spreadsheet log: the time, then one per column.
void ResizeColumnTitles(std::vector<std::string>& titles, int32_t found) {
  const auto last = static_cast<int16_t>(found * 8);  // 16-bit, as the tables count
  titles.assign(last < 0 ? 1 : static_cast<std::size_t>(last) + 1, std::string());
  titles[0] = "経過時間 [ms]";
}

void SetTitle(std::vector<std::string>& titles, std::size_t& next, const std::string& title) {
  if (next < titles.size()) titles[next] = title;
  ++next;
}

}  // namespace

Excel_OutputDB::Excel_OutputDB(LogEnvironment environment) : environment_(std::move(environment)) {
  row_.reserve(1024);
}

void Excel_OutputDB::Param_ALL_Clear() {
  // A save left by a run that failed: its rows are in that run's journal.
  inFlight_.reset();
  Excel_DB_ArayyCounter = 0;
  Excel_DB_ArayyCounter_MAX = 20000;
  Excel_DB_ArayyCh = 1;
  StartTime = 0.0;
  hardware_information = 0.0;
  Arayy_ALL_Clear_zero_string(20000, 128, data1_);
  Arayy_ALL_Clear_zero_string(20000, 128, data2_);
}

// ---- rows ----

void Excel_OutputDB::Excel_DataInput(USB_IO_IF& USB_IO, ELM327_Info& device, double now_time) {
  switch (device.t_ViewCh) {
    case 1:
    case 2:
      Excel_DataInput_for_bit(USB_IO, device, now_time);
      break;
    case 3:
      Excel_DataInput_for_ch(USB_IO, device, now_time);
      break;
    default:
      break;
  }
}

void Excel_OutputDB::Excel_DataInput_for_bit(USB_IO_IF& USB_IO, ELM327_Info& device,
                                             double now_time) {
  if (device.t_LogSaveFormat == 1) {
    DataInput_for_bit_to_excel(ActiveArray(), USB_IO, now_time);
  } else if (device.t_LogSaveFormat == 2) {
    DataInput_for_bit_to_text(Excel_DB_ArayyCh == 1 ? csv_DB1 : csv_DB2, USB_IO, now_time);
  }
}

void Excel_OutputDB::Excel_DataInput_for_ch(USB_IO_IF& USB_IO, ELM327_Info& device,
                                            double now_time) {
  if (device.t_LogSaveFormat == 1) {
    DataInput_for_ch_to_excel(ActiveArray(), USB_IO, now_time);
  } else if (device.t_LogSaveFormat == 2) {
    DataInput_for_ch_to_text(Excel_DB_ArayyCh == 1 ? csv_DB1 : csv_DB2, USB_IO, now_time);
  }
}

void Excel_OutputDB::Excel_AN_DataInput(KVR_USB_Probe& USB_Probe, USB_IO_IF& /*USB_IO*/,
                                        ELM327_Info& device, double now_time) {
  if (device.t_LogSaveFormat == 1) {
    DataInput_for_AN_to_excel(ActiveArray(), USB_Probe, now_time);
  } else if (device.t_LogSaveFormat == 2) {
    DataInput_for_AN_to_text(Excel_DB_ArayyCh == 1 ? csv_DB1 : csv_DB2, USB_Probe, now_time);
  }
}

void Excel_OutputDB::BeginRow(double now_time) {
  row_.clear();
  row_.append(static_cast<std::size_t>(TimeBlanks(now_time)), ' ');
  AppendNumber(row_, now_time);
  row_ += kCellEnd;
}

void Excel_OutputDB::EndRow(StringBuilder& buffer) {
  row_ += kLineEnd;
  buffer.Append(row_);
  ++Excel_DB_ArayyCounter;
  ++rowsLogged_;
  ++BufferRows(&buffer == &csv_DB1 ? 1 : 2);
}

void Excel_OutputDB::TellNameTaken(const LogFileName& name, int32_t Output_ch) {
  if (environment_.nameTaken) {
    environment_.nameTaken({name.path, BufferRows(Output_ch), name.placeholder});
  }
}

void Excel_OutputDB::FileWritten(int32_t Output_ch, const LogFileName& name, bool rowsKept) {
  WrittenLog written{name.path, name.overwrites, 0, 0};
  (rowsKept ? written.rowsInFile : written.rowsDiscarded) = BufferRows(Output_ch);
  BufferRows(Output_ch) = 0;
  rowsInFiles_ += written.rowsInFile;
  rowsDiscarded_ += written.rowsDiscarded;
  ++filesWritten_;
  if (environment_.logWritten) environment_.logWritten(written);
}

void Excel_OutputDB::DataInput_for_bit_to_text(StringBuilder& buffer, USB_IO_IF& USB_IO,
                                               double now_time) {
  BeginRow(now_time);
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    if (USB_IO.HidCh(TableIndex(i)) < 0) continue;
    for (int32_t b = 0; b < 8; ++b) {
      const int32_t bit = USB_IO.USBIO_J1_MakeData_Bit(TableIndex(i * 8 + b));
      if (bit == 0 || bit == 1) {
        row_ += static_cast<char>('0' + bit);
      } else {
        row_ += DecimalText(bit);
      }
      row_ += kCellEnd;
    }
  }
  EndRow(buffer);
}

void Excel_OutputDB::DataInput_for_ch_to_text(StringBuilder& buffer, USB_IO_IF& USB_IO,
                                              double now_time) {
  BeginRow(now_time);
  int32_t cell = 0;
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    if (USB_IO.HidCh(TableIndex(i)) < 0) continue;
    AppendNumber(row_, USB_IO.USBIO_Value(TableIndex(i)));
    if (++cell < USB_IO.FindDevice) row_ += kCellEnd;  // none behind the last
  }
  EndRow(buffer);
}

void Excel_OutputDB::DataInput_for_AN_to_text(StringBuilder& buffer, KVR_USB_Probe& USB_Probe,
                                              double now_time) {
  BeginRow(now_time);
  for (int32_t i = 0; i < USB_Probe.max_device; ++i) {
    if (USB_Probe.HidCh(TableIndex(i)) < 0) continue;
    for (int32_t k = 0; k < USB_Probe.max_input; ++k) {
      AppendNumber(row_, USB_Probe.USBProbe_Value(TableIndex(i * USB_Probe.max_input + k)));
      row_ += kCellEnd;
    }
  }
  EndRow(buffer);
}

// ---- files ----

void Excel_OutputDB::Excel_DataOutput(int32_t Output_ch, KVR_USB_Probe* USB_Probe,
                                      USB_IO_IF& USB_IO, ELM327_Info& device,
                                      std::string& FileName_Date, std::string& FileName_No,
                                      const std::string& FolderName) {
  CollectFiles();  // files are told in the order they were begun
  switch (device.t_ViewCh) {
    case 1:
    case 2:
      Excel_DataOutput_for_bit(Output_ch, USB_Probe, USB_IO, device, FileName_Date, FileName_No,
                               FolderName);
      break;
    case 3:
    case 4:
      Excel_DataOutput_for_ch(Output_ch, USB_Probe, USB_IO, device, FileName_Date, FileName_No,
                              FolderName);
      break;
    default:
      break;
  }
}

void Excel_OutputDB::Excel_DataOutput_for_bit(int32_t Output_ch, KVR_USB_Probe* USB_Probe,
                                              USB_IO_IF& USB_IO, ELM327_Info& device,
                                              std::string& FileName_Date, std::string& FileName_No,
                                              const std::string& FolderName) {
  if (device.t_LogSaveFormat == 1 && device.ExcelInstallCheck == 1) {
    WriteBitWorkbook(Output_ch, USB_IO, device, FileName_Date, FileName_No, FolderName);
  } else if (device.t_LogSaveFormat == 2) {
    WriteTextLog(Output_ch, USB_Probe, USB_IO, device, FileName_Date, FileName_No, FolderName);
  }
}

void Excel_OutputDB::Excel_DataOutput_for_ch(int32_t Output_ch, KVR_USB_Probe* USB_Probe,
                                             USB_IO_IF& USB_IO, ELM327_Info& device,
                                             std::string& FileName_Date, std::string& FileName_No,
                                             const std::string& FolderName) {
  if (device.t_LogSaveFormat == 1 && device.ExcelInstallCheck == 1) {
    WriteChWorkbook(Output_ch, USB_Probe, USB_IO, device, FileName_Date, FileName_No, FolderName);
  } else if (device.t_LogSaveFormat == 2) {
    WriteTextLog(Output_ch, USB_Probe, USB_IO, device, FileName_Date, FileName_No, FolderName);
  }
}

void Excel_OutputDB::WriteTextLog(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                                  ELM327_Info& device, std::string& FileName_Date,
                                  std::string& FileName_No, const std::string& FolderName) {
  const LocalTime now = environment_.now();
  const LogFileName name =
      LogFilePath(device, now, FileName_Date, FileName_No, FolderName, environment_);
  TakenLogName taken(name);
  TellNameTaken(name, Output_ch);
  TextStream file = CreateTextFile(name.path);
  file.Write(ToCodePage(csv_Header_Top + DateTimeText(now) + csv_Header_Bottom));
  // Checked on the counter, not the buffer: a file written at a rollover
  // holds the header alone.
  const bool rowsKept = Excel_DB_ArayyCounter > 0;
  if (rowsKept) file.Write((Output_ch == 1 ? csv_DB1 : csv_DB2).View());
  file.Close();
  taken.Written();
  FileWritten(Output_ch, name, rowsKept);
  csv_DB_Initialize(Output_ch, USB_Probe, USB_IO, device);
}

// ---- headers ----

void Excel_OutputDB::csv_DB_Initialize(int32_t cmd_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                                       ELM327_Info& device) {
  switch (device.t_ViewCh) {
    case 1:
    case 2:
      csv_DB_Initialize_for_bit(cmd_ch, USB_IO, device);
      break;
    case 3:
      csv_DB_Initialize_for_ch(cmd_ch, USB_IO, device);
      break;
    case 4:
      csv_DB_Initialize_for_AN(cmd_ch, Probe(USB_Probe), device);
      break;
    default:
      break;
  }
}

bool Excel_OutputDB::ClearForCommand(int32_t cmd_ch) {
  switch (cmd_ch) {
    case 0:
      csv_DB1.AllClear();
      csv_DB2.AllClear();
      return true;
    case 1:
      csv_DB1.AllClear();
      return false;
    case 2:
      csv_DB2.AllClear();
      return false;
    default:
      return false;
  }
}

namespace {

std::string HeaderTop(const ELM327_Info& device) {
  return device.Application_title + ",,," + device.Copy_light + ",,,," + device.Homepage_URL +
         kLineEnd + kLineEnd + "Date:  ";
}

std::string HeaderBottomStart(const ELM327_Info& device) {
  return std::string(kLineEnd) + device.t_LogComment + kLineEnd + kLineEnd;
}

}  // namespace

void Excel_OutputDB::csv_DB_Initialize_for_bit(int32_t cmd_ch, USB_IO_IF& USB_IO,
                                               ELM327_Info& device) {
  if (!ClearForCommand(cmd_ch)) return;
  csv_Header_Top = HeaderTop(device);
  std::string channels(10, ' ');
  std::string titles = kTimeTitle;
  ResizeColumnTitles(Excel_ColumnTitle, USB_IO.FindDevice);
  std::size_t next = 1;
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    if (USB_IO.HidCh(TableIndex(i)) < 0) continue;
    channels += Numbered(",ch", i) + ",,,,,,," + std::string(21, ' ');
    for (int32_t b = 0; b < 8; ++b) {
      titles += Numbered("b", b) + " ,";
      SetTitle(Excel_ColumnTitle, next, Numbered("b", b));
    }
  }
  csv_Header_Bottom = HeaderBottomStart(device) + channels + kLineEnd + titles + kLineEnd;
}

void Excel_OutputDB::csv_DB_Initialize_for_ch(int32_t cmd_ch, USB_IO_IF& USB_IO,
                                              ELM327_Info& device) {
  if (!ClearForCommand(cmd_ch)) return;
  csv_Header_Top = HeaderTop(device);
  std::string comments;
  std::string titles = kTimeTitle;
  ResizeColumnTitles(Excel_ColumnTitle, USB_IO.FindDevice);
  std::size_t next = 1;
  int32_t column = 0;
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    const int16_t channel = TableIndex(i);
    if (USB_IO.HidCh(channel) < 0) continue;
    comments += Numbered("ch", i) + " ：" + device.usbio_comment(channel) + kLineEnd;
    titles += Numbered("ch", i) + " ";
    if (++column < USB_IO.FindDevice) titles += ",";
    SetTitle(Excel_ColumnTitle, next, Numbered("ch", i));
  }
  csv_Header_Bottom = HeaderBottomStart(device) + comments + kLineEnd + titles + kLineEnd;
}

void Excel_OutputDB::csv_DB_Initialize_for_AN(int32_t cmd_ch, KVR_USB_Probe& USB_Probe,
                                              ELM327_Info& device) {
  if (!ClearForCommand(cmd_ch)) return;
  csv_Header_Top = HeaderTop(device);
  std::string comments;
  std::string titles = kTimeTitle;
  ResizeColumnTitles(Excel_ColumnTitle, USB_Probe.FindDevice);
  std::size_t next = 1;
  int32_t column = 0;
  for (int32_t i = 0; i < USB_Probe.max_device; ++i) {
    const int16_t probe = TableIndex(i);
    if (USB_Probe.HidCh(probe) < 0) continue;
    comments += Numbered("ch", i) + " ：" + USB_Probe.AN_ch_comment(probe) + kLineEnd;
    for (int32_t k = 1; k <= USB_Probe.max_input; ++k) {
      titles += Numbered("Ch", i) + Numbered("-", k) + " ";
      ++column;
      if (static_cast<double>(column) / USB_Probe.max_input < USB_Probe.FindDevice) titles += ",";
      SetTitle(Excel_ColumnTitle, next, Numbered("入力", k));
    }
  }
  csv_Header_Bottom = HeaderBottomStart(device) + comments + kLineEnd + titles + kLineEnd;
}

void Excel_OutputDB::Get_SubFolder_Name(ELM327_Info& device, std::string& FolderName) {
  GetSubFolderName(device, FolderName, environment_);
}

void Excel_OutputDB::RollOverWhenFull(const std::function<void(int32_t Output_ch)>& writeFile) {
  if (Excel_DB_ArayyCounter <= Excel_DB_ArayyCounter_MAX) return;
  Excel_DB_ArayyCounter = 0;
  const int32_t full = Excel_DB_ArayyCh;
  rollingOver_ = true;
  try {
    writeFile(full);
  } catch (...) {
    rollingOver_ = false;
    throw;
  }
  rollingOver_ = false;
  Excel_DB_ArayyCh = full == 1 ? 2 : 1;
}

void Excel_OutputDB::CollectFinishedFiles() {
  if (inFlight_ && inFlight_->save->Finished()) CollectFiles();
}

void Excel_OutputDB::CollectFiles() {
  if (!inFlight_) return;
  WorkbookInFlight done = std::move(*inFlight_);
  inFlight_.reset();
  done.save->Collect();
  FileWritten(done.Output_ch, done.name, true);
}

std::optional<std::string> Excel_OutputDB::LogFolderRefusal(ELM327_Info& device) const {
  return tavelin::LogFolderRefusal(device, environment_);
}

}  // namespace tavelin

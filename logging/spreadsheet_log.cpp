// The spreadsheet half of the log writer: rows of texts in two arrays, and
// the workbook each array becomes.
#include <stdexcept>

#include "logging/Excel_OutputDB.h"
#include "logging/log_names.h"
#include "platform/number_text.h"

namespace tavelin {
namespace {

constexpr int kFirstDataRow = 8;
constexpr int kLastDataRow = 20008;
constexpr int kAlignRight = -4152;

int16_t Row(int32_t counter) {
  return TableIndex(counter);
}

std::string_view Text(double value, char (&buffer)[kNumberTextSize]) {
  return WriteNumberText(value, buffer);
}

// Steps 1 to 3 of both kinds: a new workbook with its title, notice,
// comment, link and date; the link and the date stand where the kind says.
Worksheet& StartWorkbook(ExcelApplication& excel, const ELM327_Info& device,
                         const std::string& linkCell, const std::string& dateCell,
                         const std::string& dateRange, const LocalTime& now) {
  excel.Workbooks().Add();
  Worksheet& sheet = excel.ActiveSheet();
  sheet.cells().Font().size(10);
  sheet.GetRange("A1").value(device.Application_title);
  sheet.GetRange("A2").Font().size(8);
  sheet.GetRange("A2").value(device.Copy_light);
  sheet.GetRange("A3").value(device.t_LogComment);
  sheet.GetRange(linkCell).Font().size(8);
  sheet.GetRange(linkCell).value(device.Homepage_URL);
  sheet.GetRange(dateCell).value(DateTimeText(now));
  Range merged = sheet.GetRange(dateRange);
  merged.MergeCells(true);
  merged.HorizontalAlignment(kAlignRight);
  return sheet;
}

}  // namespace

void Excel_OutputDB::SaveWorkbook(ExcelApplication& excel, const LogFileName& name,
                                  TakenLogName& taken, int32_t Output_ch, CompactCellTable& array) {
  Yield(environment_);
  if (rollingOver_) {
    // Nothing else touches this array until the other one is full.
    auto save = excel.ActiveWorkbook().SaveAsLater(name.path);
    excel.ActiveWorkbook().Close();
    taken.Written();  // from here the save gives the name back itself
    inFlight_.emplace(
        WorkbookInFlight{name, Output_ch, std::make_unique<BackgroundTask>([save, name, &array] {
                           try {
                             save();
                           } catch (...) {
                             GiveBackLogName(name);
                             throw;
                           }
                           Arayy_ALL_Clear_zero_string(20000, 128, array);
                         })});
    return;
  }
  excel.ActiveWorkbook().SaveAs(name.path);
  excel.ActiveWorkbook().Close();
  Arayy_ALL_Clear_zero_string(20000, 128, array);
  taken.Written();
  FileWritten(Output_ch, name, true);
}

void Excel_OutputDB::Arayy_ALL_Clear_zero_string(int32_t rows, int32_t columns,
                                                 CompactCellTable& array) {
  if (rows != CompactCellTable::kRows - 1 || columns != CompactCellTable::kColumns - 1) {
    throw std::out_of_range("the log arrays are cleared whole");
  }
  array.Clear();
}

ExcelApplication& Excel_OutputDB::Application() {
  if (!objExcel) throw std::runtime_error("objExcel is empty: no workbook application");
  return *objExcel;
}

// ---- rows ----

// Column 0 of the next row: its time.
int16_t Excel_OutputDB::StartExcelRow(CompactCellTable& array, double now_time) {
  const int16_t row = Row(Excel_DB_ArayyCounter);
  char text[kNumberTextSize];
  array.Let(row, 0, Text(now_time, text));
  return row;
}

void Excel_OutputDB::FinishExcelRow() {
  ++Excel_DB_ArayyCounter;
  ++rowsLogged_;
  ++BufferRows(Excel_DB_ArayyCh);
}

void Excel_OutputDB::DataInput_for_bit_to_excel(CompactCellTable& array, USB_IO_IF& USB_IO,
                                                double now_time) {
  const int16_t row = StartExcelRow(array, now_time);
  int16_t column = 1;
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    if (USB_IO.HidCh(TableIndex(i)) < 0) continue;
    for (int32_t b = 0; b < 8; ++b) {
      const int32_t bit = USB_IO.USBIO_J1_MakeData_Bit(TableIndex(i * 8 + b));
      array.Let(row, column++, bit == 0 ? "0" : bit == 1 ? "1" : std::to_string(bit));
    }
  }
  FinishExcelRow();
}

void Excel_OutputDB::DataInput_for_ch_to_excel(CompactCellTable& array, USB_IO_IF& USB_IO,
                                               double now_time) {
  const int16_t row = StartExcelRow(array, now_time);
  char text[kNumberTextSize];
  int16_t column = 1;
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    const int16_t channel = TableIndex(i);
    if (USB_IO.HidCh(channel) < 0) continue;
    array.Let(row, column++, Text(USB_IO.USBIO_Value(channel), text));
  }
  FinishExcelRow();
}

void Excel_OutputDB::DataInput_for_AN_to_excel(CompactCellTable& array, KVR_USB_Probe& USB_Probe,
                                               double now_time) {
  const int16_t row = StartExcelRow(array, now_time);
  char text[kNumberTextSize];
  int16_t column = 1;
  for (int32_t i = 0; i < USB_Probe.max_device; ++i) {
    if (USB_Probe.HidCh(TableIndex(i)) < 0) continue;
    for (int32_t k = 0; k < USB_Probe.max_input; ++k) {
      array.Let(row, column++,
                Text(USB_Probe.USBProbe_Value(TableIndex(i * USB_Probe.max_input + k)), text));
    }
  }
  FinishExcelRow();
}

// ---- workbooks ----

void Excel_OutputDB::WriteBitWorkbook(int32_t Output_ch, USB_IO_IF& USB_IO, ELM327_Info& device,
                                      std::string& FileName_Date, std::string& FileName_No,
                                      const std::string& FolderName) {
  const LocalTime now = environment_.now();
  const LogFileName name =
      LogFilePath(device, now, FileName_Date, FileName_No, FolderName, environment_);
  TakenLogName taken(name);
  TellNameTaken(name, Output_ch);
  ExcelApplication& excel = Application();
  Worksheet& sheet = StartWorkbook(excel, device, "E1", "J1", "J1:M1", now);
  sheet.GetRange("A7").Interior().ColorIndex(36);

  int column = 2;
  bool second = false;
  for (int32_t i = 0; i < USB_IO.max_device; ++i) {
    const int16_t channel = TableIndex(i);
    if (USB_IO.HidCh(channel) < 0) continue;
    sheet.cells(6, column).value(device.usbio_comment(channel));
    sheet.GetRange(sheet.cells(6, column), sheet.cells(7, column + 7))
        .Interior()
        .ColorIndex(second ? 36 : 19);
    second = !second;
    column += 8;
  }
  const int width = USB_IO.FindDevice * 8 + 1;
  Range titles = sheet.GetRange(sheet.cells(7, 1), sheet.cells(7, width));
  titles.value(Excel_ColumnTitle);
  titles.Borders().LineStyle(1);
  titles.Font().size(9);
  sheet.Columns(1).ColumnWidth(11);
  sheet.Columns("B:DY").ColumnWidth(3.2);

  CompactCellTable& array = Output_ch == 1 ? data1_ : data2_;
  sheet.GetRange(sheet.cells(kFirstDataRow, 1), sheet.cells(kLastDataRow, width)).value(array);
  sheet.cells(kFirstDataRow, 1).AutoFilter(1);  // the bit kind: on the first data row
  SaveWorkbook(excel, name, taken, Output_ch, array);
}

void Excel_OutputDB::WriteChWorkbook(int32_t Output_ch, KVR_USB_Probe* USB_Probe, USB_IO_IF& USB_IO,
                                     ELM327_Info& device, std::string& FileName_Date,
                                     std::string& FileName_No, const std::string& FolderName) {
  const bool analog = device.t_ViewCh == 4;
  int width = USB_IO.FindDevice + 1;
  if (analog) {
    if (USB_Probe == nullptr) throw std::logic_error("the analog log needs USB_Probe");
    width = USB_Probe->FindDevice * USB_Probe->max_input + 1;
  }
  const LocalTime now = environment_.now();
  const LogFileName name =
      LogFilePath(device, now, FileName_Date, FileName_No, FolderName, environment_);
  TakenLogName taken(name);
  TellNameTaken(name, Output_ch);
  ExcelApplication& excel = Application();
  Worksheet& sheet = StartWorkbook(excel, device, "D1", "H1", "H1:I1", now);

  Range titles = sheet.GetRange(sheet.cells(7, 1), sheet.cells(7, width));
  titles.value(Excel_ColumnTitle);
  titles.Interior().ColorIndex(36);
  titles.Borders().LineStyle(1);
  titles.Font().size(9);
  sheet.Columns(1).ColumnWidth(11);
  sheet.Columns("B:DY").ColumnWidth(9);

  CompactCellTable& array = Output_ch == 1 ? data1_ : data2_;
  sheet.GetRange(sheet.cells(kFirstDataRow, 1), sheet.cells(kLastDataRow, width)).value(array);
  sheet.cells(7, 1).AutoFilter(1);  // the value kinds: on the title row

  int column = 2;
  if (analog) {
    for (int32_t i = 0; i < USB_Probe->max_device; ++i) {
      const int16_t probe = TableIndex(i);
      if (USB_Probe->HidCh(probe) < 0) continue;
      sheet.cells(6, column).value(USB_Probe->AN_ch_comment(probe));
      column += 6;
    }
  } else {
    for (int32_t i = 0; i < USB_IO.max_device; ++i) {
      const int16_t channel = TableIndex(i);
      if (USB_IO.HidCh(channel) < 0) continue;
      sheet.cells(6, column).value(device.usbio_comment(channel));
      column += 1;
    }
  }
  SaveWorkbook(excel, name, taken, Output_ch, array);
}

}  // namespace tavelin

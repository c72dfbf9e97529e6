#include "spreadsheet/excel_check.h"

#include <memory>

#include "spreadsheet/ExcelApplication.h"

namespace tavelin {

void CheckExcelInstalled(ELM327_Info& device) {
  try {
    // Made and let go at once, without asking it to quit.
    auto probe = std::make_unique<ExcelApplication>();
    device.ExcelInstallCheck = 1;
  } catch (...) {
    device.ExcelInstallCheck = 0;
    device.t_LogSaveFormat = 2;
  }
}

}  // namespace tavelin

namespace tavelin {

bool LogsToWorkbook(const ELM327_Info& device) {
  return device.t_LogSave_Enable == 1 && device.ExcelInstallCheck == 1 &&
         device.t_LogSaveFormat == 1;
}

std::shared_ptr<ExcelApplication> OpenExcelForRun() {
  auto excel = std::make_shared<ExcelApplication>();
  excel->Visible = false;
  excel->Application().ScreenUpdating = false;
  excel->Application().Interactive = false;
  excel->Application().DisplayAlerts = false;
  return excel;
}

void CloseExcelAfterRun(ExcelApplication& excel) {
  excel.Application().ScreenUpdating = true;
  excel.Application().Interactive = true;
  excel.Application().DisplayAlerts = true;
  excel.Quit();
}

}  // namespace tavelin

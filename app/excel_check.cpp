#include "app/excel_check.h"

namespace tavelin {

void CheckExcelInstalled(ELM327_Info& device) {
  // No workbook application is built in yet.
  device.ExcelInstallCheck = 0;
  device.t_LogSaveFormat = 2;
}

}  // namespace tavelin

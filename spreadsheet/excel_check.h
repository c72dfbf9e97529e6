#pragma once
#include <memory>

#include "state/ELM327_Info.h"

namespace tavelin {

class ExcelApplication;

// Looks for the workbook application. Without one, logs are text: the
// setting is forced to csv, also over a stored spreadsheet choice.
void CheckExcelInstalled(ELM327_Info& device);

// Whether a run logs to a workbook: logging on, the application found,
// the spreadsheet format chosen.
bool LogsToWorkbook(const ELM327_Info& device);

// The workbook application of a run, as Connect makes it: hidden, quiet.
std::shared_ptr<ExcelApplication> OpenExcelForRun();
// Its end at Disconnect: the three settings back on, then Quit.
void CloseExcelAfterRun(ExcelApplication& excel);

}  // namespace tavelin

#pragma once
#include "app/ELM327_Info.h"

namespace tavelin {

// Looks for the workbook application. Without one, logs are text: the
// setting is forced to csv, also over a stored spreadsheet choice.
void CheckExcelInstalled(ELM327_Info& device);

}  // namespace tavelin

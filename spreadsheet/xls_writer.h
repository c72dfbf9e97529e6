#pragma once
#include <string>

#include "spreadsheet/worksheet.h"

namespace tavelin {

// The Workbook stream of a one-sheet BIFF8 workbook: globals, shared
// strings and the sheet.
std::string XlsWorkbookStream(const SheetData& sheet);

// The stream in its compound file, written to `path`, replacing a file there. Throws FileError.
void WriteXls(const SheetData& sheet, const std::string& path);

// A number as an RK value, when it has one.
bool EncodeRk(double value, uint32_t& rk);

}  // namespace tavelin

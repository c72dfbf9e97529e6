#pragma once
#include <string>

#include "spreadsheet/worksheet.h"

namespace tavelin {

// The drop-down arrows of an autofilter. Readers show them only where the
// file carries them as drawing objects: one drop-down list object per
// column of the filter, anchored in its header row, as LibreOffice writes
// them. Each result is whole BIFF8 records.

// The workbook's drawing group (MSODRAWINGGROUP), for the globals.
std::string FilterArrowDrawingGroup(const CellRect& filter);

// The sheet's drawing (MSODRAWING and OBJ records), after the cells.
std::string FilterArrowObjects(const CellRect& filter);

}  // namespace tavelin

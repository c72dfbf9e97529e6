#include "spreadsheet/worksheet.h"

#include <algorithm>

namespace tavelin {

bool SheetData::RowHasText(int row, int first, int last) const {
  for (auto text = texts.lower_bound({row, first}); text != texts.end(); ++text) {
    if (text->first.first != row || text->first.second > last) break;
    if (!text->second.text.empty()) return true;
  }
  for (const PushedBlock& block : blocks) {
    if (row < block.rect.top || row > block.rect.bottom) continue;
    const int from = std::max(first, block.rect.left);
    const int to = std::min(last, block.rect.right);
    if (from <= to && block.grid->RowHasText(row - block.rect.top, from - block.rect.left,
                                             to - block.rect.left)) {
      return true;
    }
  }
  return false;
}

void ApplyLayer(const StyleLayer& layer, CellStyle& style) {
  switch (layer.property) {
    case StyleLayer::Property::FontSize:
      style.fontSize = layer.value;
      break;
    case StyleLayer::Property::Fill:
      style.fill = static_cast<int>(layer.value);
      break;
    case StyleLayer::Property::Border:
      style.border = layer.value == 1.0;
      break;
    case StyleLayer::Property::AlignRight:
      style.alignRight = layer.value != 0.0;
      break;
  }
}

CellRect SheetData::CurrentRegion(int row, int column) const {
  CellRect region{row, column, row, column};
  const auto columnHasText = [&](int c, int top, int bottom) {
    for (int r = top; r <= bottom; ++r) {
      if (RowHasText(r, c, c)) return true;
    }
    return false;
  };
  for (bool grew = true; grew;) {
    grew = false;
    const int left = std::max(0, region.left - 1);
    const int right = region.right + 1;
    if (region.top > 0 && RowHasText(region.top - 1, left, right)) {
      --region.top;
      grew = true;
    }
    while (RowHasText(region.bottom + 1, left, right)) {  // long blocks grow a row at a time
      ++region.bottom;
      grew = true;
    }
    const int top = std::max(0, region.top - 1);
    if (region.left > 0 && columnHasText(region.left - 1, top, region.bottom + 1)) {
      --region.left;
      grew = true;
    }
    if (region.right < 255 && columnHasText(region.right + 1, top, region.bottom + 1)) {
      ++region.right;
      grew = true;
    }
  }
  return region;
}

}  // namespace tavelin

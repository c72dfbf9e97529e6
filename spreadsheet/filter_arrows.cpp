#include "spreadsheet/filter_arrows.h"

#include <cstdint>
#include <initializer_list>
#include <utility>

#include "platform/little_endian.h"

namespace tavelin {
namespace {

using le::U16;
using le::U32;

constexpr uint16_t kMsoDrawingGroup = 0x00EB;
constexpr uint16_t kMsoDrawing = 0x00EC;
constexpr uint16_t kObj = 0x005D;

constexpr uint32_t kFirstShapeId = 0x400;  // the group; arrows follow
constexpr uint32_t kDrawingId = 1;
constexpr uint16_t kHostControlShape = 0xC9;
constexpr uint16_t kDropDownObject = 0x14;

// Lengths of the containers below, header included.
constexpr uint32_t kGroupShapeLength = 8 + 40;
constexpr uint32_t kArrowShapeLength = 8 + 88;

// An OfficeArt record header: version, instance, type, length.
void Head(std::string& out, uint16_t version, uint16_t instance, uint16_t type, uint32_t length) {
  U16(out, static_cast<uint16_t>(version | (instance << 4)));
  U16(out, type);
  U32(out, length);
}

void Properties(std::string& out, std::initializer_list<std::pair<uint16_t, uint32_t>> list) {
  Head(out, 3, static_cast<uint16_t>(list.size()), 0xF00B, static_cast<uint32_t>(6 * list.size()));
  for (const auto& [id, value] : list) {
    U16(out, id);
    U32(out, value);
  }
}

void Record(std::string& out, uint16_t id, const std::string& data) {
  U16(out, id);
  U16(out, static_cast<uint16_t>(data.size()));
  out += data;
}

uint32_t ArrowCount(const CellRect& filter) {
  return static_cast<uint32_t>(filter.right - filter.left + 1);
}

// One arrow: a host-control shape over the header cell of its column.
void ArrowShape(std::string& out, uint32_t shapeId, int row, int column) {
  Head(out, 0xF, 0, 0xF004, kArrowShapeLength - 8);
  Head(out, 2, kHostControlShape, 0xF00A, 8);
  U32(out, shapeId);
  U32(out, 0x0A00);  // has an anchor and a shape type
  Properties(out, {{0x007F, 0x01040104},
                   {0x00BF, 0x00080008},
                   {0x01BF, 0x00010000},
                   {0x01FF, 0x00080000},
                   {0x03BF, 0x000A0000}});
  Head(out, 0, 0, 0xF010, 18);
  U16(out, 1);
  for (int corner : {0, 1}) {
    U16(out, static_cast<uint16_t>(column + corner));
    U16(out, 0);
    U16(out, static_cast<uint16_t>(row + corner));
    U16(out, 0);
  }
  Head(out, 0, 0, 0xF011, 0);
}

// The drop-down list object that makes the shape a filter arrow.
std::string ArrowObject(uint16_t objectId) {
  std::string out;
  U16(out, 0x15);  // common object data
  U16(out, 18);
  U16(out, kDropDownObject);
  U16(out, objectId);
  U16(out, 0x2101);
  out.append(12, '\0');
  U16(out, 0x0C);  // scroll bar data, empty
  U16(out, 20);
  out.append(20, '\0');
  U16(out, 0x13);  // list box data of a drop-down
  U16(out, 16);
  for (uint16_t word : {0x0000, 0x0000, 0x0000, 0x0301, 0x0000, 0x0002, 0x0014, 0x0082})
    U16(out, word);
  U16(out, 0);  // end
  U16(out, 0);
  return out;
}

}  // namespace

std::string FilterArrowDrawingGroup(const CellRect& filter) {
  const uint32_t arrows = ArrowCount(filter);
  std::string data;
  Head(data, 0xF, 0, 0xF000, 8 + 24 + 8 + 18 + 8 + 16);
  Head(data, 0, 0, 0xF006, 24);
  U32(data, kFirstShapeId + arrows);  // the last shape id in use
  U32(data, 2);                       // one id cluster
  U32(data, arrows + 1);              // shapes saved
  U32(data, 1);                       // drawings saved
  U32(data, kDrawingId);
  U32(data, arrows + 1);
  Properties(data, {{0x00BF, 0x00080008}, {0x0181, 0x08000009}, {0x01C0, 0x08000040}});
  Head(data, 0, 4, 0xF11E, 16);
  for (uint32_t colour : {0x0800000Du, 0x0800000Cu, 0x08000017u, 0x100000F7u}) U32(data, colour);
  std::string out;
  Record(out, kMsoDrawingGroup, data);
  return out;
}

std::string FilterArrowObjects(const CellRect& filter) {
  const uint32_t arrows = ArrowCount(filter);
  const uint32_t groupLength = kGroupShapeLength + kArrowShapeLength * arrows;
  std::string out;
  for (uint32_t i = 0; i < arrows; ++i) {
    std::string drawing;
    if (i == 0) {
      // The drawing of the sheet and its group shape open the first record;
      // their lengths count the shapes of the records that follow.
      Head(drawing, 0xF, 0, 0xF002, 16 + 8 + groupLength);
      Head(drawing, 0, kDrawingId, 0xF008, 8);
      U32(drawing, arrows + 1);
      U32(drawing, kFirstShapeId + arrows);
      Head(drawing, 0xF, 0, 0xF003, groupLength);
      Head(drawing, 0xF, 0, 0xF004, kGroupShapeLength - 8);
      Head(drawing, 1, 0, 0xF009, 16);
      drawing.append(16, '\0');
      Head(drawing, 2, 0, 0xF00A, 8);
      U32(drawing, kFirstShapeId);
      U32(drawing, 0x0005);  // the group of the whole sheet
    }
    ArrowShape(drawing, kFirstShapeId + 1 + i, filter.top, filter.left + static_cast<int>(i));
    Record(out, kMsoDrawing, drawing);
    Record(out, kObj, ArrowObject(static_cast<uint16_t>(i + 1)));
  }
  return out;
}

}  // namespace tavelin

#include "spreadsheet/compound_file.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "platform/little_endian.h"
#include "spreadsheet/compound_layout.h"

namespace tavelin {
namespace {

using le::PatchU16;
using le::PatchU32;
using le::U16;
using le::U32;
using namespace compound;

constexpr std::size_t kSector = 512;
constexpr std::size_t kEntriesPerSector = kSector / 4;              // FAT entries
constexpr std::size_t kFatSectorsPerDifat = kEntriesPerSector - 1;  // the last links on

void DirectoryEntry(std::string& out, std::string_view name, uint8_t type, uint32_t child,
                    uint32_t start, uint32_t size) {
  const std::size_t at = out.size();
  out.append(kEntryBytes, '\0');
  for (std::size_t i = 0; i < name.size(); ++i) out[at + 2 * i] = name[i];
  PatchU16(out, at + 64, static_cast<uint16_t>(name.empty() ? 0 : (name.size() + 1) * 2));
  out[at + 66] = static_cast<char>(type);
  out[at + 67] = static_cast<char>(name.empty() ? 0 : 1);  // black
  PatchU32(out, at + 68, kFreeSect);
  PatchU32(out, at + 72, kFreeSect);
  PatchU32(out, at + 76, child);
  PatchU32(out, at + 116, start);
  PatchU32(out, at + 120, size);
}

// How many sectors of each kind a stream of `data` sectors needs: the FAT
// covers every sector, itself and the DIFAT included, so grow to a fixed point.
struct Sectors {
  std::size_t data, fat, difat;
};

Sectors SectorsFor(std::size_t data) {
  Sectors s{data, 1, 0};
  for (;;) {
    const std::size_t total = s.data + 1 + s.fat + s.difat;
    const std::size_t fat = (total + kEntriesPerSector - 1) / kEntriesPerSector;
    const std::size_t difat =
        fat > kHeaderFatSectors
            ? (fat - kHeaderFatSectors + kFatSectorsPerDifat - 1) / kFatSectorsPerDifat
            : 0;
    if (fat == s.fat && difat == s.difat) return s;
    s.fat = fat;
    s.difat = difat;
  }
}

std::string Header(const Sectors& s, std::size_t directory, std::size_t firstFat,
                   std::size_t firstDifat) {
  std::string header;
  header.reserve(kSector);
  header.append(kMagic);
  header.append(16, '\0');  // CLSID
  U16(header, 0x003E);
  U16(header, 3);
  U16(header, 0xFFFE);
  U16(header, 9);  // 512-byte sectors
  U16(header, 6);  // 64-byte mini sectors
  header.append(6, '\0');
  U32(header, 0);
  U32(header, static_cast<uint32_t>(s.fat));
  U32(header, static_cast<uint32_t>(directory));
  U32(header, 0);
  U32(header, static_cast<uint32_t>(kMiniStreamCutoff));
  U32(header, kEndOfChain);  // no mini FAT
  U32(header, 0);
  U32(header, s.difat > 0 ? static_cast<uint32_t>(firstDifat) : kEndOfChain);
  U32(header, static_cast<uint32_t>(s.difat));
  for (std::size_t i = 0; i < kHeaderFatSectors; ++i) {
    U32(header, i < s.fat ? static_cast<uint32_t>(firstFat + i) : kFreeSect);
  }
  return header;
}

}  // namespace

CompoundFrame CompoundFrameFor(std::string_view streamName, std::size_t streamLength) {
  if (streamName.empty() || streamName.size() > 31) {
    throw std::invalid_argument("a stream name has 1 to 31 characters");
  }
  const std::size_t length = std::max(streamLength, kMiniStreamCutoff);
  if (length > UINT32_MAX) throw std::length_error("a stream of 4 GB or more");
  const Sectors s = SectorsFor((length + kSector - 1) / kSector);
  // The stream's sectors first, then the directory, the FAT and the DIFAT.
  const std::size_t directory = s.data;
  const std::size_t firstFat = directory + 1;
  const std::size_t firstDifat = firstFat + s.fat;

  CompoundFrame frame{Header(s, directory, firstFat, firstDifat), {}};
  std::string& tail = frame.tail;
  tail.reserve(s.data * kSector - streamLength + (1 + s.fat + s.difat) * kSector);
  tail.append(s.data * kSector - streamLength, '\0');
  DirectoryEntry(tail, "Root Entry", 5, 1, kEndOfChain, 0);
  DirectoryEntry(tail, streamName, 2, kFreeSect, 0, static_cast<uint32_t>(length));
  DirectoryEntry(tail, "", 0, kFreeSect, 0, 0);
  DirectoryEntry(tail, "", 0, kFreeSect, 0, 0);
  for (std::size_t sector = 0; sector < s.fat * kEntriesPerSector; ++sector) {
    uint32_t next = kFreeSect;
    if (sector + 1 < s.data) {
      next = static_cast<uint32_t>(sector + 1);
    } else if (sector + 1 == s.data || sector == directory) {
      next = kEndOfChain;
    } else if (sector >= firstFat && sector < firstFat + s.fat) {
      next = kFatSect;
    } else if (sector >= firstDifat && sector < firstDifat + s.difat) {
      next = kDifSect;
    }
    U32(tail, next);
  }
  for (std::size_t d = 0; d < s.difat; ++d) {
    for (std::size_t k = 0; k < kFatSectorsPerDifat; ++k) {
      const std::size_t fatIndex = kHeaderFatSectors + d * kFatSectorsPerDifat + k;
      U32(tail, fatIndex < s.fat ? static_cast<uint32_t>(firstFat + fatIndex) : kFreeSect);
    }
    U32(tail, d + 1 < s.difat ? static_cast<uint32_t>(firstDifat + d + 1) : kEndOfChain);
  }
  return frame;
}

std::string CompoundFile(std::string_view streamName, std::string_view stream) {
  const CompoundFrame frame = CompoundFrameFor(streamName, stream.size());
  std::string file;
  file.reserve(frame.header.size() + stream.size() + frame.tail.size());
  file.append(frame.header).append(stream).append(frame.tail);
  return file;
}

}  // namespace tavelin

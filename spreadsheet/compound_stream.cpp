#include "spreadsheet/compound_stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/little_endian.h"
#include "spreadsheet/compound_layout.h"

namespace tavelin {
namespace {

using namespace compound;

// Fields of the file, none past its end: a chain that leaves it ends.
uint32_t U32At(std::string_view bytes, std::size_t at) {
  return at + 4 <= bytes.size() ? le::U32At(bytes.data() + at) : kEndOfChain;
}
uint16_t U16At(std::string_view bytes, std::size_t at) {
  return at + 2 <= bytes.size() ? le::U16At(bytes.data() + at) : 0;
}

class Sectors {
 public:
  Sectors(std::string_view file, std::size_t size) : file_(file), size_(size) {}
  // The sector's bytes; empty past the file's end.
  std::string_view At(uint32_t sector) const {
    const std::size_t at = (static_cast<std::size_t>(sector) + 1) * size_;
    return at + size_ <= file_.size() ? file_.substr(at, size_) : std::string_view();
  }
  // `bytes` from the start of `sector` on, for sectors that follow each other.
  std::string_view From(uint32_t sector, std::size_t bytes) const {
    return file_.substr((static_cast<std::size_t>(sector) + 1) * size_, bytes);
  }
  std::size_t Count() const { return file_.size() / size_; }
  std::size_t Size() const { return size_; }

 private:
  std::string_view file_;
  std::size_t size_;
};

// The FAT, from the sectors the header and the DIFAT chain name.
bool ReadFat(std::string_view file, const Sectors& sectors, std::vector<uint32_t>& fat) {
  std::vector<uint32_t> fatSectors;
  const uint32_t count = U32At(file, 0x2C);
  for (std::size_t i = 0; i < kHeaderFatSectors && fatSectors.size() < count; ++i)
    fatSectors.push_back(U32At(file, 0x4C + 4 * i));
  const std::size_t perSector = sectors.Size() / 4;
  for (uint32_t difat = U32At(file, 0x44), hops = 0;
       difat < kEndOfChain && fatSectors.size() < count;
       difat = U32At(sectors.At(difat), sectors.Size() - 4)) {
    const std::string_view bytes = sectors.At(difat);
    if (bytes.empty() || ++hops > sectors.Count()) return false;
    for (std::size_t i = 0; i + 1 < perSector && fatSectors.size() < count; ++i)
      fatSectors.push_back(U32At(bytes, 4 * i));
  }
  for (const uint32_t sector : fatSectors) {
    const std::string_view bytes = sectors.At(sector);
    if (bytes.empty()) return false;
    for (std::size_t i = 0; i < perSector; ++i) fat.push_back(U32At(bytes, 4 * i));
  }
  return true;
}

// The chain from `first`, `bytes` of it (all of it when none is given):
// a view into the file when its sectors follow each other.
std::optional<std::string_view> Chain(const Sectors& sectors, const std::vector<uint32_t>& fat,
                                      uint32_t first, std::size_t bytes, std::string& storage) {
  std::size_t length = 0;
  bool contiguous = true;
  std::size_t hops = 0;
  uint32_t sector = first;
  for (; sector < kEndOfChain && length < bytes;
       sector = sector < fat.size() ? fat[sector] : kEndOfChain) {
    if (sectors.At(sector).empty() || ++hops > sectors.Count()) return std::nullopt;
    contiguous = contiguous && sector == first + hops - 1;
    length += sectors.Size();
  }
  if (bytes != SIZE_MAX && length < bytes) return std::nullopt;
  if (length == 0) return std::string_view();  // a chain that ends at once
  const std::size_t wanted = std::min(length, bytes);
  if (contiguous) return sectors.From(first, wanted);
  storage.clear();
  for (sector = first; storage.size() < wanted; sector = fat[sector]) {
    const std::string_view data = sectors.At(sector);
    storage.append(data.substr(0, std::min(data.size(), wanted - storage.size())));
  }
  return std::string_view(storage);
}

bool NameIs(std::string_view entry, std::string_view name) {
  const std::size_t length = U16At(entry, 64);
  if (length != (name.size() + 1) * 2) return false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (U16At(entry, 2 * i) != static_cast<uint8_t>(name[i])) return false;
  }
  return true;
}

}  // namespace

std::optional<std::string_view> ReadCompoundStream(std::string_view file, std::string_view name,
                                                   std::string& storage) {
  if (file.size() < 512 || file.substr(0, kMagic.size()) != kMagic) return std::nullopt;
  const uint16_t shift = U16At(file, 0x1E);
  if (shift != 9 && shift != 12) return std::nullopt;
  const Sectors sectors(file, std::size_t{1} << shift);
  std::vector<uint32_t> fat;
  std::string directoryStorage;
  if (!ReadFat(file, sectors, fat)) return std::nullopt;
  const auto directory = Chain(sectors, fat, U32At(file, 0x30), SIZE_MAX, directoryStorage);
  if (!directory) return std::nullopt;
  for (std::size_t at = 0; at + kEntryBytes <= directory->size(); at += kEntryBytes) {
    const std::string_view entry = directory->substr(at, kEntryBytes);
    if (entry[66] != 2 || !NameIs(entry, name)) continue;  // a stream of that name
    const uint32_t size = U32At(entry, 120);
    if (size < kMiniStreamCutoff) return std::nullopt;
    return Chain(sectors, fat, U32At(entry, 116), size, storage);
  }
  return std::nullopt;
}

}  // namespace tavelin

// The container of an .xls file, read back the way a reader walks it: the
// header names the FAT sectors (and the DIFAT the rest), the FAT chains the
// directory and the stream.
#include "spreadsheet/compound_file.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavelin {
namespace {

constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFatSect = 0xFFFFFFFD;
constexpr uint32_t kDifSect = 0xFFFFFFFC;
constexpr std::size_t kSector = 512;

uint32_t Le32(const std::string& bytes, std::size_t at) {
  if (at + 4 > bytes.size()) throw std::out_of_range("read past the file");
  uint32_t v = 0;
  for (int i = 0; i < 4; ++i)
    v |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
  return v;
}

struct ReadBack {
  std::vector<uint32_t> fat;
  std::vector<uint32_t> fatSectors, difatSectors;
  std::string name;
  uint32_t declaredSize = 0;
  std::string stream;
  std::size_t sectors = 0;
};

std::string Sector(const std::string& file, uint32_t n) {
  return file.substr((n + 1) * kSector, kSector);
}

// The sectors of a chain, refusing loops and links outside the file.
std::vector<uint32_t> Chain(const ReadBack& r, uint32_t first) {
  std::vector<uint32_t> chain;
  std::set<uint32_t> seen;
  for (uint32_t s = first; s != kEndOfChain; s = r.fat.at(s)) {
    if (s >= r.sectors || !seen.insert(s).second) throw std::runtime_error("a broken chain");
    chain.push_back(s);
  }
  return chain;
}

ReadBack Read(const std::string& file) {
  ReadBack r;
  if (file.size() % kSector != 0) throw std::runtime_error("not whole sectors");
  r.sectors = file.size() / kSector - 1;
  const uint32_t fatCount = Le32(file, 0x2C);
  for (uint32_t i = 0; i < fatCount && i < 109; ++i)
    r.fatSectors.push_back(Le32(file, 0x4C + 4 * i));
  for (uint32_t d = Le32(file, 0x44), left = Le32(file, 0x48); left > 0; --left) {
    r.difatSectors.push_back(d);
    const std::string difat = Sector(file, d);
    for (int k = 0; k < 127 && r.fatSectors.size() < fatCount; ++k)
      r.fatSectors.push_back(Le32(difat, 4 * k));
    d = Le32(difat, 508);
  }
  for (uint32_t s : r.fatSectors) {
    const std::string sector = Sector(file, s);
    for (int k = 0; k < 128; ++k) r.fat.push_back(Le32(sector, 4 * k));
  }
  std::string directory;
  for (uint32_t s : Chain(r, Le32(file, 0x30))) directory += Sector(file, s);
  const uint32_t child = Le32(directory, 76);  // the root's child: our stream
  const std::string entry = directory.substr(child * 128, 128);
  const int nameBytes = static_cast<unsigned char>(entry[64]) - 2;
  for (int i = 0; i < nameBytes; i += 2) r.name += entry[i];
  r.declaredSize = Le32(entry, 120);
  for (uint32_t s : Chain(r, Le32(entry, 116))) r.stream += Sector(file, s);
  r.stream.resize(r.declaredSize);
  return r;
}

TEST(CompoundFile, AnyStreamReadsBackWhole) {
  struct Case {
    std::size_t length;
    std::size_t fatSectors, difatSectors;
  };
  // 109 FAT sectors cover 13,952 sectors: 13,842 of data, the directory
  // and themselves; one more data sector needs a DIFAT sector. 31,901 data
  // sectors (a full bit-kind log) need 252 FAT sectors, 143 of them named
  // by 2 DIFAT sectors.
  const Case cases[] = {{0, 1, 0},
                        {5, 1, 0},
                        {4096, 1, 0},
                        {4097, 1, 0},
                        {128 * 512, 2, 0},
                        {13842 * 512, 109, 0},
                        {13843 * 512, 110, 1},
                        {31901 * 512 - 100, 252, 2}};
  for (const Case& c : cases) {
    std::string stream(c.length, '\0');
    for (std::size_t i = 0; i < c.length; ++i) stream[i] = static_cast<char>(i * 7 + i / 509);
    const std::string file = CompoundFile("Workbook", stream);
    ASSERT_EQ(file.substr(0, 8), std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8));
    const ReadBack r = Read(file);
    EXPECT_EQ(r.name, "Workbook") << c.length;
    EXPECT_EQ(r.fatSectors.size(), c.fatSectors) << c.length;
    EXPECT_EQ(r.difatSectors.size(), c.difatSectors) << c.length;
    // Small streams are padded with zeros to stay out of the mini stream.
    EXPECT_EQ(r.declaredSize, std::max<std::size_t>(c.length, 4096)) << c.length;
    EXPECT_EQ(r.stream.substr(0, c.length), stream) << c.length;
    EXPECT_EQ(r.stream.find_first_not_of('\0', c.length), std::string::npos) << c.length;
    // The FAT marks its own sectors and the DIFAT's as such.
    for (uint32_t s : r.fatSectors) EXPECT_EQ(r.fat.at(s), kFatSect) << c.length;
    for (uint32_t s : r.difatSectors) EXPECT_EQ(r.fat.at(s), kDifSect) << c.length;
    EXPECT_GE(r.fat.size(), r.sectors) << c.length;
  }
}

TEST(CompoundFile, TheFrameIsWhatSurroundsTheStream) {
  const std::string stream(10000, 'x');
  const CompoundFrame frame = CompoundFrameFor("Workbook", stream.size());
  EXPECT_EQ(frame.header.size(), kSector);
  EXPECT_EQ(frame.header + stream + frame.tail, CompoundFile("Workbook", stream));
  EXPECT_THROW(CompoundFrameFor("", 10), std::invalid_argument);
  EXPECT_THROW(CompoundFrameFor(std::string(32, 'n'), 10), std::invalid_argument);
}

}  // namespace
}  // namespace tavelin

// Files the user keeps: written whole or not at all, names taken once.
#include "platform/file_system.h"

#include <gtest/gtest.h>

#include "logging/log_test_support.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;

std::size_t Entries(const fs::path& folder) {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

TEST(TextStream, AReaderSeesTheOldFileOrTheNewOneNeverHalfOfIt) {
  test::TempFolder folder;
  const fs::path path = folder.Write("SD26030214-001.csv", "old");
  {
    TextStream file = CreateTextFile(path.string());
    file.Write("new ");
    EXPECT_EQ(ReadBytes(path), "old");  // nothing at the path before Close
    file.Write("bytes");
    file.Close();
  }
  EXPECT_EQ(ReadBytes(path), "new bytes");
  EXPECT_EQ(Entries(folder.Path()), 1u);
  {
    TextStream dropped = CreateTextFile(path.string());  // a write that failed half-way
    dropped.Write("half");
  }
  EXPECT_EQ(ReadBytes(path), "new bytes");
  EXPECT_EQ(Entries(folder.Path()), 1u);  // and no temporary file left behind
  EXPECT_THROW(CreateTextFile((folder.Path() / "no" / "x.csv").string()), FileError);
}

TEST(TakeFileName, OnlyOneTakesAName) {
  test::TempFolder folder;
  const std::string path = (folder.Path() / "SD26030214-001.xls").string();
  EXPECT_TRUE(TakeFileName(path));
  EXPECT_FALSE(TakeFileName(path));
  fs::create_directory(folder.Path() / "SD26030214-002.xls");
  EXPECT_FALSE(TakeFileName((folder.Path() / "SD26030214-002.xls").string()));
  EXPECT_THROW(TakeFileName((folder.Path() / "no" / "x").string()), FileError);
}

}  // namespace
}  // namespace tavelin

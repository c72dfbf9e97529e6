// The run journal: its bytes, what a damaged one still gives, and how the
// writer batches.
#include <gtest/gtest.h>

#include <random>

#include "logging/journal_format.h"
#include "logging/journal_recovery.h"
#include "logging/log_test_support.h"
#include "logging/run_journal.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

JournalHead BitHead() {
  JournalHead head;
  head.viewCh = 1;
  head.comment = "炉 A";
  head.title = "タヴェリン Ver1.11";
  head.findDevice = 2;
  head.devices = {{0, "0Ch"}, {5, "圧力"}};
  return head;
}

// A journal with `rows` rows of two modules, then a file note, then `more`.
std::string Journal(int rows, int more) {
  std::string bytes = EncodeHead(BitHead());
  for (int r = 0; r < rows; ++r) AppendRow(bytes, r, std::string{char(r), char(r + 1)});
  AppendMark(bytes, {rows, false, "/logs/SD26030214-001.xls"});
  for (int r = rows; r < rows + more; ++r) AppendRow(bytes, r, std::string{char(r), char(r + 1)});
  return bytes;
}

// A journal cut at any byte of its last batch gives every whole row before
// the cut, and says where the rest was lost.
TEST(Journal, ACutAtAnyByteGivesEveryWholeRowBeforeIt) {
  const std::string whole = Journal(3, 40);
  const std::size_t rowBytes = 1 + 8 + 2 + 4;
  const std::size_t lastBatch = whole.size() - 40 * rowBytes;
  for (std::size_t cut = lastBatch; cut <= whole.size(); ++cut) {
    const JournalContents contents = ReadJournal(std::string_view(whole).substr(0, cut));
    ASSERT_TRUE(contents.readable) << cut;
    const std::size_t wholeRows = 3 + (cut - lastBatch) / rowBytes;
    EXPECT_EQ(contents.rows.size(), wholeRows) << cut;
    EXPECT_EQ(contents.rows.back().time, static_cast<double>(wholeRows - 1)) << cut;
    const bool atARowsEnd = (cut - lastBatch) % rowBytes == 0;
    EXPECT_EQ(contents.damage.empty(), atARowsEnd) << cut;
  }
}

TEST(Journal, DamageStopsTheReadingAndIsSaid) {
  struct Case {
    const char* name;
    std::string bytes;
    bool readable;
    std::size_t rows;
    const char* said;
  };
  std::string flipped = Journal(5, 0);
  flipped[EncodeHead(BitHead()).size() + 2 * 15 + 3] ^= 0x40;  // in the third row
  std::string otherVersion = Journal(2, 0);
  otherVersion[4] = kJournalVersion + 1;
  std::string noise(4000, '\0');
  std::mt19937 random(7);
  for (char& byte : noise) byte = static_cast<char>(random());
  std::string noisyTail = Journal(4, 0) + noise;
  const Case cases[] = {
      {"a flipped bit", flipped, true, 2, "a damaged row"},
      {"another version", otherVersion, false, 0, "another version (3)"},
      {"random bytes", noise, false, 0, "not a journal"},
      {"random bytes after good rows", noisyTail, true, 4, "at byte"},
      {"a head cut short", Journal(1, 0).substr(0, 30), false, 0, "head"},
      {"nothing", "", false, 0, "not a journal"},
  };
  for (const Case& c : cases) {
    const JournalContents contents = ReadJournal(c.bytes);
    EXPECT_EQ(contents.readable, c.readable) << c.name;
    EXPECT_EQ(contents.rows.size(), c.rows) << c.name;
    EXPECT_NE(contents.damage.find(c.said), std::string::npos) << c.name << ": " << contents.damage;
  }
}

// One write per batch of 100 ms, the rows a file holds cut out of the
// journal, and the journal gone at a normal end whose rows are all in files
// but kept otherwise.
TEST(Journal, TheWriterBatchesCutsAndFinishes) {
  test::TempFolder folder;
  std::string why;
  auto journal = RunJournal::Start(folder.Path().string(), BitHead(), why);
  ASSERT_TRUE(journal) << why;
  const std::string path = journal->Path();
  const auto size = [&] { return fs::file_size(path); };
  const auto headBytes = size();
  journal->AddRow(0, std::string(2, '\1'));
  journal->Flush(50);  // not yet 100 ms
  EXPECT_EQ(size(), headBytes);
  journal->AddRow(1, std::string(2, '\1'));
  journal->Flush(100);
  EXPECT_EQ(size(), headBytes + 2 * 15);
  journal->AddRow(2, std::string(2, '\2'));  // logged before the file is noted, not in it
  journal->NoteFile({"/logs/SD26030214-001.csv", false, 2, 0});
  journal->AddRow(3, std::string(2, '\3'));
  journal.reset();  // a run that did not end: the journal stays, its rows written
  const std::string bytes = test::ReadBytes(path);
  const JournalContents contents = ReadJournal(bytes);
  ASSERT_EQ(contents.rows.size(), 2u);  // the two rows in the file left the journal
  EXPECT_EQ(contents.rows[0].time, 2.0);
  EXPECT_EQ(contents.rows[1].time, 3.0);
  ASSERT_EQ(contents.marks.size(), 1u);
  EXPECT_EQ(contents.marks[0].path, "/logs/SD26030214-001.csv");

  auto finished = RunJournal::Start(folder.Path().string() + "/more", BitHead(), why);
  const std::string finishedPath = finished->Path();
  finished->AddRow(0, std::string(2, '\0'));
  finished->NoteFile({"/logs/SD26030214-002.csv", false, 1, 0});
  // A second run of the same process in the same second keeps its own.
  auto next = RunJournal::Start(folder.Path().string() + "/more", BitHead(), why);
  ASSERT_TRUE(next) << why;
  const std::string nextPath = next->Path();
  EXPECT_NE(nextPath, finishedPath);
  EXPECT_EQ(finished->Finish(), 0);
  EXPECT_FALSE(fs::exists(finishedPath));
  // Rows no file took (a log format without a writer) stay.
  next->AddRow(0, std::string(2, '\0'));
  EXPECT_EQ(next->Finish(), 1);
  next.reset();
  EXPECT_EQ(ReadJournal(test::ReadBytes(nextPath)).rows.size(), 1u);
}

TEST(Journal, ALeftoverIsFoundOnceItsRunHasGoneAndAnUnreadableOneIsKeptAside) {
  test::TempFolder folder;
  std::string why;
  auto running = RunJournal::Start(folder.Path().string(), BitHead(), why);
  running->AddRow(0, std::string(2, '\0'));
  EXPECT_TRUE(LeftoverJournals(folder.Path().string()).empty());  // its run holds it
  running.reset();
  const auto leftovers = LeftoverJournals(folder.Path().string());
  ASSERT_EQ(leftovers.size(), 1u);
  EXPECT_EQ(leftovers[0].rows, 1);

  const auto junk = folder.Write("20260101-000000-1.journal", "junk");
  test::LogBench bench;
  const Recovery recovery = RecoverJournal(junk.string(), bench.Environment(), std::nullopt);
  EXPECT_EQ(recovery.damage, "not a journal");
  EXPECT_FALSE(fs::exists(junk));
  EXPECT_TRUE(fs::exists(junk.string() + ".unreadable"));
}

}  // namespace
}  // namespace tavelin

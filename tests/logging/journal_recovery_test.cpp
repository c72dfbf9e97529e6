// Recovery writes each row a journal keeps once: a file put in place but
// not yet noted, a recovery cut off and run again, notes that point where
// they should not, a log format without a writer.
#include "logging/journal_recovery.h"

#include <gtest/gtest.h>

#include <set>

#include "logging/journal_format.h"
#include "logging/log_test_support.h"
#include "logging/run_journal.h"
#include "platform/file_system.h"
#include "trend/log_table.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

// The journal of a run of two modules logging into `folder`; row r holds
// r (mod 256) in the first module.
class LeftJournal {
 public:
  LeftJournal(const fs::path& folder, int32_t format) {
    head_.viewCh = 1;
    head_.logSaveFormat = format;
    head_.pathMode = 2;
    head_.savePath = folder.string();
    head_.findDevice = 2;
    head_.devices = {{0, "a"}, {5, "b"}};
    bytes_ = EncodeHead(head_);
  }
  void Rows(int from, int to) {
    for (int r = from; r < to; ++r) AppendRow(bytes_, r, std::string{char(r & 0xFF), '\0'});
  }
  void Taken(const JournalTakenName& taken) { AppendTakenName(bytes_, taken); }
  fs::path Save(const test::TempFolder& journals) const {
    return journals.Write("20260302-140509-1.journal", bytes_);
  }

 private:
  JournalHead head_;
  std::string bytes_;
};

// The times of the rows of the csv logs in `folder`, file by file.
std::vector<double> CsvRows(const fs::path& folder) {
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == ".csv") files.insert(entry.path());
  }
  std::vector<double> times;
  for (const fs::path& file : files) {
    const LogTable table = ReadLogFile(file.string());
    times.insert(times.end(), table.times.begin(), table.times.end());
  }
  return times;
}

std::vector<double> Range(int from, int to) {
  std::vector<double> numbers;
  for (int n = from; n < to; ++n) numbers.push_back(n);
  return numbers;
}

// A run killed after its name was taken: either its file was put in place
// and not yet noted (its rows are not written again), or its write was cut
// off (the empty name and the hidden file go, every row is written).
TEST(Recovery, ANameTakenCountsItsRowsOnlyWhenItsFileIsInPlace) {
  for (const bool inPlace : {true, false}) {
    test::TempFolder logs, journals;
    test::LogBench bench;
    const std::string log = (logs.Path() / "SD26030214-001.csv").string();
    ASSERT_TRUE(TakeFileName(log));
    const auto placeholder = IdentityOf(log);
    const fs::path hidden = HiddenWritePrefix(log) + "123-0";
    if (inPlace) {
      TextStream file = CreateTextFile(log);
      file.Write("the run's own log\r\n");
      file.Close();
    } else {
      std::ofstream(hidden) << "half";
    }
    LeftJournal journal(logs.Path(), 2);
    journal.Rows(0, 10);
    journal.Taken({log, 10, placeholder});
    journal.Rows(10, 15);
    const fs::path path = journal.Save(journals);

    const Recovery recovery = RecoverJournal(path.string(), bench.Environment(), std::nullopt);
    EXPECT_EQ(recovery.rows, inPlace ? 5 : 15) << inPlace;
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(fs::exists(hidden));
    if (inPlace) {
      EXPECT_EQ(test::ReadBytes(log), "the run's own log\r\n");
      fs::remove(log);
    }
    EXPECT_EQ(CsvRows(logs.Path()), Range(inPlace ? 10 : 0, 15)) << inPlace;
  }
}

// Notes come from a file anybody could have changed: an empty file or a
// hidden one is removed only where it is ours, a log of our naming in the
// run's log folder.
TEST(Recovery, NotesPointingElsewhereTouchNothing) {
  test::TempFolder logs, elsewhere, journals;
  test::LogBench bench;
  const std::vector<fs::path> strangers = {
      elsewhere.Path() / "SD26030214-001.csv",
      HiddenWritePrefix((elsewhere.Path() / "SD26030214-001.csv").string()) + "1-0",
      logs.Path() / "notes.txt",
      HiddenWritePrefix((logs.Path() / "notes.txt").string()) + "1-0",
      logs.Path() / "SD26030214-001.csv.keep",
  };
  for (const fs::path& file : strangers) std::ofstream{file};
  for (std::size_t n = 0; n < strangers.size(); n += 2) {
    LeftJournal journal(logs.Path(), 2);
    journal.Rows(0, 3);
    journal.Taken({strangers[n].string(), 3, IdentityOf(strangers[n].string())});
    const Recovery recovery =
        RecoverJournal(journal.Save(journals).string(), bench.Environment(), std::nullopt);
    EXPECT_EQ(recovery.rows, 3);
  }
  for (const fs::path& file : strangers) EXPECT_TRUE(fs::exists(file)) << file;
}

// Rows of a log format no writer has are never dropped: the journal stays
// until a format is chosen.
TEST(Recovery, ALogFormatWithoutAWriterKeepsItsRows) {
  test::TempFolder logs, journals;
  test::LogBench bench;
  LeftJournal journal(logs.Path(), 3);
  journal.Rows(0, 7);
  const fs::path path = journal.Save(journals);
  const std::string before = test::ReadBytes(path);
  EXPECT_THROW(RecoverJournal(path.string(), bench.Environment(), std::nullopt), FileError);
  EXPECT_EQ(test::ReadBytes(path), before);
  ASSERT_EQ(LeftoverJournals(journals.Path().string()).size(), 1u);
  EXPECT_EQ(LeftoverJournals(journals.Path().string())[0].rows, 7);

  const Recovery recovery = RecoverJournal(path.string(), bench.Environment(), std::nullopt, 2);
  EXPECT_EQ(recovery.rows, 7);
  EXPECT_EQ(CsvRows(logs.Path()), Range(0, 7));
}

// A recovery that stops after its first workbook (a full disk, a kill) goes
// on where it stopped: the second run writes the rows after that file.
TEST(Recovery, ARecoveryCutOffGoesOnWhereItStopped) {
  test::TempFolder logs, journals;
  test::LogBench bench;
  LeftJournal journal(logs.Path(), 1);
  journal.Rows(0, 45000);
  const fs::path path = journal.Save(journals);

  LogEnvironment failing = bench.Environment();
  int yields = 0;
  failing.yield = [&yields] {
    if (++yields == 2) throw FileError("the disk is full");
  };
  EXPECT_THROW(RecoverJournal(path.string(), failing, std::nullopt), FileError);
  const auto left = LeftoverJournals(journals.Path().string());
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0].rows, 45000 - 20001);
  EXPECT_EQ(left[0].files.size(), 1u);

  const Recovery again = RecoverJournal(path.string(), bench.Environment(), std::nullopt);
  EXPECT_EQ(again.rows, 45000 - 20001);
  EXPECT_EQ(again.files.size(), 2u);
  std::size_t workbooks = 0;
  for (const auto& entry : fs::directory_iterator(logs.Path())) {
    EXPECT_GT(fs::file_size(entry.path()), 0u) << entry.path();
    ++workbooks;
  }
  EXPECT_EQ(workbooks, 3u);
  EXPECT_FALSE(fs::exists(path));
}

// The journal after a file is replaced whole: what it holds afterwards
// reads back as the rows after the file, counted from the run's first.
TEST(Recovery, AJournalWrittenAnewCountsItsRowsFromTheRunsFirst) {
  test::TempFolder journals;
  JournalHead head;
  head.viewCh = 1;
  head.findDevice = 1;
  head.devices = {{0, "a"}};
  std::string why;
  auto journal = RunJournal::Start(journals.Path().string(), head, why);
  ASSERT_TRUE(journal) << why;
  const std::string path = journal->Path();
  for (int r = 0; r < 8; ++r) journal->AddRow(r, std::string(1, char(r)));
  journal->NoteFile({"/logs/SD26030214-001.csv", false, 5, 0});
  journal->AddRow(8, std::string(1, '\x08'));
  journal.reset();
  const JournalContents contents = ReadJournal(test::ReadBytes(path));
  ASSERT_EQ(contents.rows.size(), 4u);
  EXPECT_EQ(contents.rows.front().index, 5);
  EXPECT_EQ(contents.rows.back().index, 8);
  EXPECT_EQ(contents.RowsInFiles(), 5);
  for (const auto& entry : fs::directory_iterator(journals.Path())) {
    EXPECT_EQ(entry.path().string(), path);  // the rewrite is in place, nothing beside it
  }
}

}  // namespace
}  // namespace tavelin

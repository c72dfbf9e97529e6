#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "logging/journal_format.h"
#include "logging/log_environment.h"

namespace tavelin {

// The journal of one logged run, in the journal folder, while the run lives:
// rows gather in memory and go to the file with one write at most every
// 100 ms, forced to disk at most once a second, so that a crash costs at
// most about a second of rows. A log file written is noted at once, and the
// rows it holds leave the journal: the journal holds the rows no file holds
// yet, never more than a buffer's. A run that ends normally deletes its
// journal; one that does not leaves it for recovery. The run holds a lock
// on the file, so nobody recovers a journal that is still being written.
class RunJournal {
 public:
  static constexpr double kWriteEveryMs = 100.0;
  static constexpr double kSyncEveryMs = 1000.0;

  // A new journal with its head, or none with the reason in `why`.
  static std::unique_ptr<RunJournal> Start(const std::string& folder, const JournalHead& head,
                                           std::string& why);
  // What the journal holds is written and synced; the file stays.
  ~RunJournal();
  RunJournal(const RunJournal&) = delete;
  RunJournal& operator=(const RunJournal&) = delete;

  const JournalHead& Head() const { return head_; }
  const std::string& Path() const { return path_; }

  void AddRow(double time, std::string_view values);
  // Writes the rows gathered once kWriteEveryMs has passed since the last
  // write, and syncs once kSyncEveryMs has passed since the last sync.
  void Flush(double nowMs);
  void NoteFile(const WrittenLog& log);
  // A log file's name taken: written at once, so that recovery can clear
  // what a write cut off leaves behind.
  void NoteName(const std::string& path);
  // The run ended normally: the journal goes.
  void Finish();

 private:
  RunJournal(std::string path, int fd, JournalHead head, std::size_t headBytes);
  void Write();
  void Sync();

  std::string path_;
  int fd_;
  JournalHead head_;
  std::size_t headBytes_ = 0;
  std::string marks_;  // the file notes so far, written again after each cut
  std::string pending_;
  int64_t rows_ = 0;
  double lastWriteMs_ = 0.0;
  double lastSyncMs_ = 0.0;
  bool unsynced_ = false;
  bool failed_ = false;  // the journal's own disk refused it: the run goes on without
};

// The folder journals go to, and a journal's file name ending.
inline constexpr const char* kJournalSuffix = ".journal";

}  // namespace tavelin

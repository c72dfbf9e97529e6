#pragma once
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "logging/journal_format.h"
#include "logging/log_environment.h"

namespace tavelin {

// The journal of one logged run, in the journal folder, while the run lives:
// rows gather in memory and go to the file with one write at most every
// 100 ms, forced to disk at most once a second on a thread of its own (a
// slow disk never holds up sampling), so that a crash costs at most about a
// second of rows. A log file written is noted at once, and the rows it
// holds leave the journal: the journal holds the rows no file holds yet. A
// run that ends normally deletes its journal; one that does not leaves it
// for recovery. The run holds a lock on the file, so nobody recovers a
// journal that is still being written.
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
  // write, and has them synced once kSyncEveryMs has passed since the last
  // sync.
  void Flush(double nowMs);
  // A log file is written: the oldest rows of the journal, as many as the
  // file holds (or left out, at a csv rollover), leave it. Rows logged
  // after the file's last one stay: a workbook saved in the background is
  // noted some rows later.
  void NoteFile(const WrittenLog& log);
  // A log file's name taken: written at once, so that recovery can clear
  // what a write cut off leaves behind.
  void NoteName(const std::string& path);
  // The run ended normally: the journal goes.
  void Finish();

 private:
  RunJournal(std::string path, int fd, JournalHead head, std::size_t headBytes);
  void Write();
  void SyncInBackground();
  void WaitForSync();
  void SyncLoop();

  std::string path_;
  int fd_;
  JournalHead head_;
  std::size_t headBytes_ = 0;
  std::size_t rowBytes_ = 0;
  std::string marks_;        // the file notes so far, written again after each cut
  std::string unfiled_;      // the rows no file holds yet, oldest first
  std::size_t written_ = 0;  // bytes of unfiled_ in the file
  std::string pending_;      // name notes not yet written
  int64_t filedRows_ = 0;
  double lastWriteMs_ = 0.0;
  double lastSyncMs_ = 0.0;
  bool unsynced_ = false;
  bool failed_ = false;  // the journal's own disk refused it: the run goes on without
  // The thread that syncs the file when asked; requests that come while it
  // syncs are served by one more sync.
  std::mutex syncMutex_;
  std::condition_variable syncWanted_, syncDone_;
  bool syncRequested_ = false, syncing_ = false, stopSyncing_ = false;
  std::thread syncer_;
};

// The folder journals go to, and a journal's file name ending.
inline constexpr const char* kJournalSuffix = ".journal";

}  // namespace tavelin

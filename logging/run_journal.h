#pragma once
#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "logging/journal_format.h"
#include "logging/log_environment.h"
#include "platform/serial_worker.h"

namespace tavelin {

// The journal of one logged run, in the journal folder, while the run lives:
// rows gather in memory and go to the file with one write at most every
// 100 ms, forced to disk at most once a second on a thread of its own (a
// slow disk never holds up sampling), so that a crash costs at most about a
// second of rows. A log file's name taken is noted and forced to disk
// before the file is written; a log file written (and so on disk) lets go
// of the rows it holds: the journal is then written anew beside itself and
// put in place whole, on that thread. A run that ends with every row in a
// file deletes its journal; one that does not leaves it for recovery. The
// run holds a lock on the file, so nobody recovers a journal that is still
// being written.
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
  // A log file's name taken: on disk before the file's write begins, so
  // that recovery knows a file put in place but not yet noted, and clears
  // what a write cut off leaves behind.
  void NoteName(const TakenLog& taken);
  // The run ended normally. A journal whose rows are all in files goes;
  // one with rows no file took (a log format no writer has) stays for
  // recovery, and the rows it keeps are counted.
  int64_t Finish();

 private:
  RunJournal(std::string path, int fd, JournalHead head, std::string headBytes);
  void Write();
  void SyncInBackground();
  void Rewrite();
  int64_t UnfiledRows() const { return static_cast<int64_t>(unfiled_.size() / rowBytes_); }
  void Refused(const char* what);

  std::string path_;
  int fd_;
  JournalHead head_;
  std::string headBytes_;
  std::size_t rowBytes_ = 0;
  std::string marks_;        // the file notes so far, written again in each rewrite
  std::string unfiled_;      // the rows no file holds yet, oldest first
  std::size_t written_ = 0;  // bytes of unfiled_ in the file
  std::string pending_;      // name notes not yet written
  int64_t filedRows_ = 0;
  int rewrites_ = 0;
  double lastWriteMs_ = 0.0;
  double lastSyncMs_ = 0.0;
  bool unsynced_ = false;
  bool failed_ = false;  // the journal's own disk refused it: the run goes on without
  std::atomic<bool> syncQueued_{false};
  // Last: its thread is done before the rest goes.
  SerialWorker disk_;
};

// The folder journals go to, and a journal's file name ending.
inline constexpr const char* kJournalSuffix = ".journal";
// A journal written anew is put in place from "<journal>.new<N>".
inline constexpr const char* kJournalRewriteSuffix = ".new";

}  // namespace tavelin

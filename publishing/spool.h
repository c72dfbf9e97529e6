#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tavelin {

// One message of a spool: where it goes and what it says.
struct SpooledMessage {
  bool retain = false;
  std::string_view topic;
  std::string_view payload;
  uint64_t next = 0;  // the offset of the message after it
};

// The messages of one run on their way to the broker, in the spool folder:
// "<run>.spool" holds one message a line, "<retain 0|1><topic>\t<payload>\n",
// and "<run>.sent" how many of its bytes the broker has acknowledged. Lines
// go to the file every 100 ms and are forced to disk every second, as the
// journal's rows are; while the disk refuses them they wait in memory, up
// to kMemoryLimit. Whoever sends a spool holds a lock on it, so that a live
// run's spool is never sent by a drain beside it.
class Spool {
 public:
  static constexpr uint64_t kMemoryLimit = 64ull << 20;

  // A new spool; when its file cannot be made, one in memory only, with
  // the reason in `why`.
  static std::unique_ptr<Spool> Create(const std::string& folder, const std::string& run,
                                       std::string& why);
  // A spool an earlier run left, or none when another holds it or it
  // cannot be read.
  static std::unique_ptr<Spool> OpenLeft(const std::string& path);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  const std::string& Path() const { return path_; }
  // Adds a message; false when the disk refuses it and memory is full.
  bool Append(bool retain, std::string_view topic, std::string_view payload);
  // Lines waiting in memory to the file (returns the disk's refusal, or
  // empty), and the file forced to disk.
  std::string Write();
  void Sync();

  // The message at `offset`, or false when no whole one starts there.
  bool Read(uint64_t offset, SpooledMessage& message);
  uint64_t End() const { return fileBytes_ + memory_.size(); }
  uint64_t Acked() const { return acked_; }
  int64_t Lines() const { return lines_; }
  int64_t AckedLines() const { return ackedLines_; }
  void Acknowledge(uint64_t offset, int64_t lines);
  // The acknowledged offset to its file; cheap enough to call once a second.
  void SaveAcked();
  bool AllAcked() const { return acked_ >= End(); }
  // Both files go: every line of the spool has reached the broker.
  void Remove();

 private:
  Spool(std::string path, int fd);
  bool Fill(uint64_t offset);

  std::string path_;
  int fd_;
  uint64_t fileBytes_ = 0;  // whole lines in the file
  std::string memory_;      // lines the file does not hold yet
  uint64_t acked_ = 0;
  uint64_t savedAcked_ = 0;
  int64_t lines_ = 0;
  int64_t ackedLines_ = 0;
  bool unsynced_ = false;
  // What was last read from the file.
  uint64_t bufferAt_ = 0;
  std::string buffer_;
};

}  // namespace tavelin

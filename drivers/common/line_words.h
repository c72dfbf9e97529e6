#pragma once
// What the simulation file and the device map share: plain text files of
// a few lines, one device a line, words split at blanks, '#' a comment.
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvr {

// A fault in a line; the reader turns it into "file:line: what".
struct LineFault : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A word as a message repeats it: cut where it grows long, on a character's start.
std::string Shown(const std::string& word);

// The text of a plain file of at most `largest` bytes. A folder, a FIFO,
// a device or a file too large is refused, with the reason in `why`.
std::optional<std::string> ReadPlainFile(const std::string& path, std::uintmax_t largest,
                                         std::string& why);

// A line's words, its comment left out.
std::vector<std::string> Words(const std::string& line);

// A line's words with single blanks between them: the device it stands
// for, whatever its spacing and comment.
std::string Joined(const std::vector<std::string>& words);

// A decimal, 0x hexadecimal or 0b binary whole number in [low, high];
// `what` names it in the fault.
std::int64_t Integer(const std::string& word, std::int64_t low, std::int64_t high,
                     const char* what);

// The words of a line after its leading ones, taken in order.
class Arguments {
 public:
  explicit Arguments(std::vector<std::string> words) : words_(std::move(words)) {}
  bool Empty() const { return next_ >= words_.size(); }
  std::size_t Left() const { return words_.size() - next_; }
  const std::string& Peek() const { return words_.at(next_); }
  const std::string& Take() { return words_.at(next_++); }
  // Takes the next word when it is `word`.
  bool TakeIf(const std::string& word) {
    if (Empty() || words_[next_] != word) return false;
    ++next_;
    return true;
  }
  void ExpectEnd() const {
    if (!Empty()) throw LineFault("unexpected '" + Shown(words_[next_]) + "'");
  }

 private:
  std::vector<std::string> words_;
  std::size_t next_ = 0;
};

}  // namespace kvr

#include "line_words.h"

#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <sstream>

namespace kvr {
namespace {

constexpr std::size_t kShownBytes = 40;  // of a word a message repeats

}  // namespace

std::string Shown(const std::string& word) {
  if (word.size() <= kShownBytes) return word;
  std::size_t cut = kShownBytes;
  while (cut > 0 && (static_cast<unsigned char>(word[cut]) & 0xC0) == 0x80) --cut;
  return word.substr(0, cut) + "...";
}

std::optional<std::string> ReadPlainFile(const std::string& path, std::uintmax_t largest,
                                         std::string& why) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    why = "cannot be read (" + std::string(std::strerror(errno)) + ")";
    return std::nullopt;
  }
  if (S_ISDIR(status.st_mode)) {
    why = "is a folder, not a file";
  } else if (!S_ISREG(status.st_mode)) {
    why = "is not a plain file (a FIFO or a device?)";
  } else if (static_cast<std::uintmax_t>(status.st_size) > largest) {
    why = "is larger than " + std::to_string(largest >> 20) + " MB";
  } else {
    std::ifstream in(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.gcount() == static_cast<std::streamsize>(text.size())) return text;
    why = "cannot be read";
  }
  return std::nullopt;
}

std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream in(line.substr(0, line.find('#')));
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::int64_t Integer(const std::string& word, std::int64_t low, std::int64_t high,
                     const char* what) {
  std::int64_t value = 0;
  int base = 10;
  const char* first = word.data();
  const char* last = word.data() + word.size();
  if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
    base = 16;
    first += 2;
  } else if (word.size() > 2 && word[0] == '0' && (word[1] == 'b' || word[1] == 'B')) {
    base = 2;
    first += 2;
  }
  const auto result = std::from_chars(first, last, value, base);
  const bool whole = result.ptr == last &&
                     (result.ec == std::errc() || result.ec == std::errc::result_out_of_range);
  if (!whole) throw LineFault(std::string(what) + " '" + Shown(word) + "' is not a whole number");
  if (result.ec == std::errc::result_out_of_range || value < low || value > high) {
    throw LineFault(std::string(what) + " " + Shown(word) + " is outside " + std::to_string(low) +
                    " to " + std::to_string(high));
  }
  return value;
}

}  // namespace kvr

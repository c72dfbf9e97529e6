#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace tavelin {

// An append-only text buffer that grows in steps of 1,500,000 characters,
// so a row costs no copy of what is already there except at a step.
class StringBuilder {
 public:
  void AllClear();
  std::string Text() const;
  // The text in use, without a copy.
  std::string_view View() const { return {mText.data(), static_cast<std::size_t>(mTextLength)}; }
  // A text longer than one growth step does not fit and throws.
  void Append(std::string_view AppendString);

 private:
  int32_t mTextLength = 0;
  std::string mText;
  int32_t mChunkSize = 1500000;
};

}  // namespace tavelin

#include "logging/StringBuilder.h"

#include <cstring>
#include <stdexcept>

namespace tavelin {

void StringBuilder::AllClear() {
  mTextLength = 0;
  mText.clear();
}

std::string StringBuilder::Text() const {
  return std::string(View());
}

void StringBuilder::Append(std::string_view AppendString) {
  const auto n = static_cast<int32_t>(AppendString.size());
  if (n == 0) return;
  if (static_cast<int64_t>(mText.size()) < int64_t{mTextLength} + n) {
    if (n > mChunkSize) throw std::length_error("a text longer than one growth step");
    mText.append(static_cast<std::size_t>(mChunkSize), '\0');
  }
  std::memcpy(mText.data() + mTextLength, AppendString.data(), AppendString.size());
  mTextLength += n;
}

}  // namespace tavelin

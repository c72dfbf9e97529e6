#include "version_text.h"

#include <cstring>

#include "kvr_export.h"

namespace kvr {

void FillVersionText(char* buffer, const char* text) {
  if (buffer == nullptr) return;
  std::memset(buffer, 0, KVR_VERSION_BUFFER_SIZE);
  std::strncpy(buffer, text, KVR_VERSION_BUFFER_SIZE);
}

}  // namespace kvr

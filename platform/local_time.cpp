#include "platform/local_time.h"

#include <cstdio>
#include <ctime>

namespace tavelin {

LocalTime NowLocal() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

std::string FileNameDate(const LocalTime& time) {
  char text[32];
  std::snprintf(text, sizeof text, "%02d%02d%02d%02d", time.year % 100, time.month, time.day,
                time.hour);
  return text;
}

std::string DateTimeText(const LocalTime& time) {
  char text[48];
  std::snprintf(text, sizeof text, "%04d/%02d/%02d %d:%02d:%02d", time.year, time.month, time.day,
                time.hour, time.minute, time.second);
  return text;
}

}  // namespace tavelin

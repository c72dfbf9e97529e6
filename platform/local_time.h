#pragma once
#include <string>

namespace tavelin {

struct LocalTime {
  int year = 2000;  // four digits
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

LocalTime NowLocal();

// "yymmddhh", the date part of a log file name.
std::string FileNameDate(const LocalTime& time);
// "yyyy/MM/dd H:mm:ss", the date line of a log.
std::string DateTimeText(const LocalTime& time);

}  // namespace tavelin

// FileTimeToDosDateTime: the calendar fields of a FILETIME in MS-DOS form.
// Pure arithmetic, so that no time zone of the process can enter it.
#include "platform/platform.h"

namespace cadserv::platform {
namespace {

constexpr uint64_t kFileTimeUnitsPerSecond = 10000000;
constexpr uint64_t kSecondsPerDay = 86400;
// Days from 1601-01-01 (the FILETIME epoch) to 0000-03-01 of the proleptic
// Gregorian calendar counted backwards: the civil-date walk below starts its
// years on March 1, so that the leap day ends a year.
constexpr uint64_t kDaysFromMarch0000To1601 = 584694;
constexpr uint64_t kDaysPer400Years = 146097;

struct CivilDate {
  uint32_t year;
  uint32_t month;  // 1-12
  uint32_t day;    // 1-31
};

// The Gregorian date `days` after 1601-01-01.
CivilDate DateOfDay(uint64_t days) {
  uint64_t z = days + kDaysFromMarch0000To1601;
  uint64_t era = z / kDaysPer400Years;
  uint64_t dayOfEra = z - era * kDaysPer400Years;  // [0, 146096]
  uint64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;  // [0, 399]
  uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  uint64_t monthFromMarch = (5 * dayOfYear + 2) / 153;  // 0 = March ... 11 = February
  CivilDate date;
  date.day = static_cast<uint32_t>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
  date.month = static_cast<uint32_t>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
  date.year = static_cast<uint32_t>(yearOfEra + era * 400 + (date.month <= 2 ? 1 : 0));
  return date;
}

}  // namespace

bool FileTimeToDosDateTime(uint64_t fileTime, uint16_t* dosDate, uint16_t* dosTime) {
  uint64_t seconds = fileTime / kFileTimeUnitsPerSecond;
  CivilDate date = DateOfDay(seconds / kSecondsPerDay);
  if (date.year < 1980 || date.year > 2107) return false;
  uint32_t secondOfDay = static_cast<uint32_t>(seconds % kSecondsPerDay);
  uint32_t hour = secondOfDay / 3600;
  uint32_t minute = secondOfDay / 60 % 60;
  uint32_t second = secondOfDay % 60;
  if (dosDate != nullptr) {
    *dosDate = static_cast<uint16_t>((date.year - 1980) << 9 | date.month << 5 | date.day);
  }
  if (dosTime != nullptr) *dosTime = static_cast<uint16_t>(hour << 11 | minute << 5 | second / 2);
  return true;
}

}  // namespace cadserv::platform

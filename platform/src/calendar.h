// Days and dates of the proleptic Gregorian calendar.
#ifndef VEXO_PLATFORM_SRC_CALENDAR_H
#define VEXO_PLATFORM_SRC_CALENDAR_H

#include <cstdint>

namespace vexo::utils {

inline constexpr std::int64_t kSecondsPerDay = 86'400;
inline constexpr std::int64_t kDaysPerEra = 146'097;     // 400 years
inline constexpr std::int64_t kDaysToUnixEra = 719'468;  // from 0000-03-01 to 1970-01-01

struct Date {
  std::int64_t year = 0;
  std::int64_t month = 0;
  std::int64_t day = 0;

  bool operator==(const Date&) const = default;
};

constexpr std::int64_t floorDivide(std::int64_t dividend, std::int64_t divisor) {
  return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

// Both conversions count from March, so that the leap day is the last of its year: the months that
// precede February then have a fixed pattern of lengths, 153 days to five months.

constexpr Date dateOf(std::int64_t unixDay) {
  const std::int64_t day = unixDay + kDaysToUnixEra;
  const std::int64_t era = floorDivide(day, kDaysPerEra);
  const std::int64_t dayOfEra = day - era * kDaysPerEra;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t marchMonth = (5 * dayOfYear + 2) / 153;
  const std::int64_t month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
  return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
          dayOfYear - (153 * marchMonth + 2) / 5 + 1};
}

constexpr std::int64_t unixDayOf(const Date& date) {
  const std::int64_t year = date.year - (date.month <= 2 ? 1 : 0);
  const std::int64_t era = floorDivide(year, 400);
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t marchMonth = date.month > 2 ? date.month - 3 : date.month + 9;
  const std::int64_t dayOfYear = (153 * marchMonth + 2) / 5 + date.day - 1;
  return era * kDaysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear -
         kDaysToUnixEra;
}

}  // namespace vexo::utils

#endif

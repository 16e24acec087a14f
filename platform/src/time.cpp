#include "vexo_utils/time.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "calendar.h"

namespace vexo::utils {
namespace {

/// Whole days that 64 bits of seconds hold, either way.
constexpr std::int64_t kMostDays = std::numeric_limits<std::int64_t>::max() / kSecondsPerDay;
constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

constexpr std::string_view kRawStart = "timeval(";
constexpr std::size_t kTailLength = std::string_view("-11-22T19:33:00.000250Z").size();
constexpr std::size_t kShortestDate = 4 + kTailLength;
constexpr std::size_t kLongestDate = std::string_view("+292277026596").size() + kTailLength;
constexpr std::size_t kLongestRaw =
    kRawStart.size() + 2 * std::string_view("-9223372036854775808").size() + 2;

/// A moment as both texts know it, whatever the width of this build's timeval.
struct Moment {
  std::int64_t seconds = 0;
  std::int64_t microseconds = 0;
};

/// A text on the stack with room for the longest form.
class Text {
 public:
  std::string_view view() const { return {bytes_.data(), length_}; }
  void put(char c) { bytes_[length_++] = c; }
  void put(std::string_view text) {
    length_ += text.copy(bytes_.data() + length_, bytes_.size() - length_);
  }
  void putNumber(std::int64_t number) {
    char* const end = bytes_.data() + bytes_.size();
    length_ = static_cast<std::size_t>(std::to_chars(bytes_.data() + length_, end, number).ptr -
                                       bytes_.data());
  }
  /// The last `width` digits of a number that is not negative.
  void putDigits(std::int64_t number, std::size_t width) {
    auto rest = static_cast<std::uint32_t>(number);
    for (std::size_t i = width; i > 0; --i, rest /= 10) {
      bytes_[length_ + i - 1] = static_cast<char>('0' + rest % 10);
    }
    length_ += width;
  }

 private:
  std::array<char, std::max(kLongestDate, kLongestRaw)> bytes_;
  std::size_t length_ = 0;
};

void putRaw(Text& text, const Moment& moment) {
  text.put(kRawStart);
  text.putNumber(moment.seconds);
  text.put(',');
  text.putNumber(moment.microseconds);
  text.put(')');
}

void putYear(Text& text, std::int64_t year) {
  if (year < 0 || year > 9999) {
    text.put(year < 0 ? '-' : '+');
  }
  const std::int64_t magnitude = year < 0 ? -year : year;
  if (magnitude <= 9999) {
    text.putDigits(magnitude, 4);
  } else {
    text.putNumber(magnitude);
  }
}

void putDate(Text& text, const Moment& moment) {
  const std::int64_t unixDay = floorDivide(moment.seconds, kSecondsPerDay);
  const std::int64_t remainder = moment.seconds % kSecondsPerDay;
  const std::int64_t second = remainder < 0 ? remainder + kSecondsPerDay : remainder;
  const Date date = dateOf(unixDay);
  putYear(text, date.year);
  const auto putField = [&text](char separator, std::int64_t number, std::size_t width) {
    text.put(separator);
    text.putDigits(number, width);
  };
  putField('-', date.month, 2);
  putField('-', date.day, 2);
  putField('T', second / 3600, 2);
  putField(':', second / 60 % 60, 2);
  putField(':', second % 60, 2);
  putField('.', moment.microseconds, 6);
  text.put('Z');
}

Text render(const Moment& moment) {
  Text text;
  if (moment.microseconds < 0 || moment.microseconds >= kMicrosecondsPerSecond) {
    putRaw(text, moment);
  } else {
    putDate(text, moment);
  }
  return text;
}

// Reading guesses the moment that a text could mean and renders that: only a text that comes out
// the same is one. So the readers below need not look at anything that a wrong text would betray
// there.

bool mayBeDate(std::string_view text) {
  return text.size() >= kShortestDate && text.size() <= kLongestDate && text.back() == 'Z' &&
         text[text.size() - kTailLength] == '-' &&
         (text[0] == '+' || text[0] == '-' || (text[0] >= '0' && text[0] <= '9'));
}

bool mayBeRaw(std::string_view text) {
  return text.size() <= kLongestRaw && text.ends_with(')') && text.starts_with(kRawStart);
}

/// 0 for what is not a number or does not fit.
std::int64_t guessNumber(std::string_view text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// False when the moment does not fit. Downwards it counts from the end of the day, because the
/// first day that fits does so only in part.
bool combine(std::int64_t unixDay, std::int64_t secondOfDay, std::int64_t& seconds) {
  if (unixDay < 0) {
    ++unixDay;
    secondOfDay -= kSecondsPerDay;
  }
  if (unixDay < -kMostDays || unixDay > kMostDays) {
    return false;
  }
  return !__builtin_add_overflow(unixDay * kSecondsPerDay, secondOfDay, &seconds);
}

bool guessDate(std::string_view text, Moment& moment) {
  const std::string_view tail = text.substr(text.size() - kTailLength);
  const auto field = [tail](std::size_t start, std::size_t length) {
    return guessNumber(tail.substr(start, length));
  };
  const std::size_t sign = text[0] == '+' ? 1 : 0;
  const std::string_view year = text.substr(sign, text.size() - kTailLength - sign);
  const std::int64_t second = field(7, 2) * 3600 + field(10, 2) * 60 + field(13, 2);
  moment.microseconds = field(16, 6);
  return combine(unixDayOf({guessNumber(year), field(1, 2), field(4, 2)}), second, moment.seconds);
}

void guessRaw(std::string_view text, Moment& moment) {
  const std::string_view numbers = text.substr(kRawStart.size());
  moment.seconds = guessNumber(numbers);
  moment.microseconds = guessNumber(numbers.substr(numbers.find(',') + 1));
}

bool guess(std::string_view text, Moment& moment) {
  if (mayBeDate(text)) {
    return guessDate(text, moment);
  }
  if (mayBeRaw(text)) {
    guessRaw(text, moment);
    return true;
  }
  return false;
}

}  // namespace

std::string timevalToString(const timeval* time) {
  return std::string(render({time->tv_sec, time->tv_usec}).view());
}

bool stringToTimeval(const char* text, unsigned int length, timeval* time) {
  Moment moment;
  if (!guess({text, length}, moment) || render(moment).view() != std::string_view(text, length)) {
    return false;
  }
  timeval result{};
  result.tv_sec = static_cast<decltype(result.tv_sec)>(moment.seconds);
  result.tv_usec = static_cast<decltype(result.tv_usec)>(moment.microseconds);
  if (result.tv_sec != moment.seconds || result.tv_usec != moment.microseconds) {
    return false;
  }
  *time = result;
  return true;
}

}  // namespace vexo::utils

// A place in a text, with what every text reader needs around it.
#ifndef VEXO_VARIANT_SRC_TEXT_CURSOR_H
#define VEXO_VARIANT_SRC_TEXT_CURSOR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "swar.h"

namespace vexo::variant {

/// The bytes need not end in a zero byte, which is a byte like any other. The cursor remembers its
/// first failure; what fails returns false.
class TextCursor {
 public:
  TextCursor(const char* data, std::size_t length)
      : data_(data), here_(data), end_(data + length) {}

  bool atEnd() const { return here_ == end_; }
  char peek() const { return *here_; }
  bool at(char c) const { return !atEnd() && peek() == c; }
  void advance(std::size_t count = 1) { here_ += count; }
  std::size_t position() const { return static_cast<std::size_t>(here_ - data_); }
  std::size_t left() const { return static_cast<std::size_t>(end_ - here_); }
  std::string_view rest() const { return {here_, left()}; }

  std::size_t errorOffset() const { return errorOffset_; }
  const char* reason() const { return reason_; }
  bool failed() const { return reason_ != nullptr; }
  bool failAt(std::size_t offset, const char* reason) {
    if (!failed()) {
      errorOffset_ = offset;
      reason_ = reason;
    }
    return false;
  }
  bool fail(const char* reason) { return failAt(position(), reason); }

  /// Steps over white space and comments.
  bool skipGap() {
    const std::size_t spaces = at(' ') ? 1 : 0;  // there is seldom more than one
    if (left() > spaces && classOf(here_[spaces]) == kOther) {
      advance(spaces);
      return true;
    }
    return skipLongGap();
  }

  /// Reads the string whose opening quote is here. The text is a part of the input, or, where it
  /// has escapes, is decoded into `scratch`.
  bool readQuoted(std::string& scratch, std::string_view& text) {
    const char* const first = here_ + 1;
    advance();
    skipPlain();
    if (!at('"')) return readEscaped(first, scratch, text);
    text = {first, static_cast<std::size_t>(here_ - first)};
    advance();
    return true;
  }

 private:
  enum ByteClass : std::uint8_t { kOther, kBlank, kComment };

  static constexpr std::array<std::uint8_t, 256> kClasses = [] {
    std::array<std::uint8_t, 256> table{};
    table[' '] = table['\n'] = table['\t'] = table['\r'] = kBlank;
    table['/'] = table['#'] = kComment;
    return table;
  }();

  static ByteClass classOf(char c) {
    return static_cast<ByteClass>(kClasses[static_cast<unsigned char>(c)]);
  }

  [[gnu::noinline]] bool skipLongGap() {
    for (;;) {
      here_ = endOfBlanks(here_, end_);
      if (atEnd()) return true;
      if (classOf(peek()) == kOther) return true;
      if (!skipComment()) return false;
    }
  }

  static const char* endOfBlanks(const char* at, const char* end) {
    while (at != end && classOf(*at) == kBlank) at = endOfSpaces(at + 1, end);
    return at;
  }

  /// Indentation is runs of spaces: eight at a time, as long as there are eight bytes.
  static const char* endOfSpaces(const char* at, const char* end) {
    while (end - at >= 8) {
      const std::uint64_t others = swar::load(at) ^ swar::repeat(' ');
      if (others != 0) return at + swar::firstMark(others);
      at += 8;
    }
    return at;
  }

  bool skipComment() {
    const std::size_t start = position();
    if (peek() == '#' || rest().substr(0, 2) == "//") {
      return skipPast("\n", start, 1, "expected a line feed to end the comment that begins here");
    }
    if (rest().substr(0, 2) == "/*") {
      return skipPast("*/", start, 2, "expected '*/' to end the comment that begins here");
    }
    return failAt(start + 1, "expected '/' or '*' to begin a comment");
  }

  bool skipPast(std::string_view mark, std::size_t start, std::size_t from, const char* reason) {
    const std::size_t found = rest().find(mark, from);
    if (found == std::string_view::npos) return failAt(start, reason);
    advance(found + mark.size());
    return true;
  }

  /// Steps to the next quote or backslash, eight bytes at a time.
  void skipPlain() {
    for (; left() >= sizeof(std::uint64_t); advance(sizeof(std::uint64_t))) {
      const std::uint64_t bytes = swar::load(here_);
      const std::uint64_t marks = swar::marksOf(bytes, '"') | swar::marksOf(bytes, '\\');
      if (marks != 0) return advance(swar::firstMark(marks));
    }
    while (!atEnd() && peek() != '"' && peek() != '\\') advance();
  }

  /// Goes on with a string that begins at `first` and is plain up to here.
  [[gnu::noinline]] bool readEscaped(const char* first, std::string& scratch,
                                     std::string_view& text) {
    scratch.assign(first, here_);
    while (at('\\')) {
      if (!readEscape(scratch)) return false;
      const char* const plain = here_;
      skipPlain();
      scratch.append(plain, here_);
    }
    if (atEnd()) {
      const auto quote = static_cast<std::size_t>(first - data_) - 1;
      return failAt(quote, "expected '\"' to end the string that begins here");
    }
    advance();
    text = scratch;
    return true;
  }

  bool readEscape(std::string& output) {
    constexpr std::string_view kLetters = "bfnrt\"\\/";
    constexpr std::string_view kBytes = "\b\f\n\r\t\"\\/";
    const std::size_t letter =
        rest().size() < 2 ? std::string_view::npos : kLetters.find(rest()[1]);
    if (letter == std::string_view::npos) {
      return fail(R"(expected one of the escapes \b \f \n \r \t \" \\ \/)");
    }
    output += kBytes[letter];
    advance(2);
    return true;
  }

  const char* data_;
  const char* here_;
  const char* end_;
  std::size_t errorOffset_ = 0;
  const char* reason_ = nullptr;
};

}  // namespace vexo::variant

#endif

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
  TextCursor(const char* data, std::size_t length) : data_(data), length_(length) {}

  bool atEnd() const { return position_ == length_; }
  char peek() const { return data_[position_]; }
  bool at(char c) const { return !atEnd() && peek() == c; }
  void advance(std::size_t count = 1) { position_ += count; }
  std::size_t position() const { return position_; }
  std::string_view rest() const { return {data_ + position_, length_ - position_}; }

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
  bool fail(const char* reason) { return failAt(position_, reason); }

  /// Steps over white space and comments.
  bool skipGap() {
    if (!atEnd() && classOf(peek()) == kOther) return true;
    return skipLongGap();
  }

  /// Reads the string whose opening quote is here. The text is a part of the input, or, where it
  /// has escapes, is decoded into `scratch`.
  bool readQuoted(std::string& scratch, std::string_view& text) {
    const std::size_t start = position_++;
    const std::size_t first = position_;
    skipPlain();
    if (at('"')) {
      text = {data_ + first, position_++ - first};
      return true;
    }
    scratch.assign(data_ + first, position_ - first);
    while (!atEnd() && peek() == '\\') {
      if (!readEscape(scratch)) return false;
      const std::size_t plain = position_;
      skipPlain();
      scratch.append(data_ + plain, position_ - plain);
    }
    if (atEnd()) return failAt(start, "expected '\"' to end the string that begins here");
    ++position_;
    text = scratch;
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

  bool skipLongGap() {
    for (;;) {
      skipBlanks();
      if (atEnd()) return true;
      if (classOf(peek()) == kOther) return true;
      if (!skipComment()) return false;
    }
  }

  /// Indentation is runs of spaces: eight at a time.
  void skipBlanks() {
    while (!atEnd() && classOf(peek()) == kBlank) {
      ++position_;
      while (length_ - position_ >= 8 && swar::load(data_ + position_) == swar::repeat(' ')) {
        position_ += 8;
      }
    }
  }

  bool skipComment() {
    const std::size_t start = position_;
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
    position_ += found + mark.size();
    return true;
  }

  /// Steps to the next quote or backslash, eight bytes at a time.
  void skipPlain() {
    while (length_ - position_ >= sizeof(std::uint64_t)) {
      const std::uint64_t bytes = swar::load(data_ + position_);
      if (swar::has(bytes, '"') || swar::has(bytes, '\\')) break;
      position_ += sizeof bytes;
    }
    while (!atEnd() && peek() != '"' && peek() != '\\') ++position_;
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
    position_ += 2;
    return true;
  }

  const char* data_;
  std::size_t length_;
  std::size_t position_ = 0;
  std::size_t errorOffset_ = 0;
  const char* reason_ = nullptr;
};

}  // namespace vexo::variant

#endif

// A place in a JSON text, and the tokens of the dialect that is read.
#ifndef VEXO_VARIANT_SRC_JSON_CURSOR_H
#define VEXO_VARIANT_SRC_JSON_CURSOR_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "json_escapes.h"
#include "pod_stack.h"
#include "swar.h"

namespace vexo::variant {

/// The bytes need not end in a zero byte, which is a byte like any other. The cursor remembers its
/// first failure; what fails returns false.
///
/// None of its own functions that is called, rather than inlined, gets the address of the cursor,
/// so that one that is a local variable can live in registers: what is rare is done by static
/// functions.
class JsonCursor {
 public:
  /// Room for a string with escapes.
  using Scratch = PodStack<char, 256>;

  JsonCursor(const char* data, std::size_t length)
      : data_(data), here_(data), end_(data + length) {}

  bool atEnd() const { return here_ == end_; }
  char peek() const { return *here_; }
  bool at(char c) const { return !atEnd() && peek() == c; }
  void advance(std::size_t count = 1) { here_ += count; }
  std::size_t position() const { return static_cast<std::size_t>(here_ - data_); }
  std::size_t left() const { return static_cast<std::size_t>(end_ - here_); }
  std::string_view rest() const { return {here_, left()}; }

  std::size_t errorOffset() const { return static_cast<std::size_t>(failedAt_ - data_); }
  const char* reason() const { return reason_; }
  bool failed() const { return reason_ != nullptr; }
  bool fail(const char* reason) { return failAt(here_, reason); }

  /// Steps over white space and comments.
  bool skipGap() {
    if (!atEnd() && classOf(peek()) == kOther) return true;
    return follow(endOfGap(here_, end_));
  }

  /// Steps behind a value in a container: over a gap, and over a comma and the gap behind it, if
  /// there is one.
  bool skipComma() {
    if (!at(',') && !skipGap()) return false;
    if (!at(',')) return true;
    advance();
    return skipGap();
  }

  /// False when there is nothing left of an array.
  bool findElement() { return !atEnd() || fail("expected ']' or an element"); }

  /// As readQuoted.
  bool readName(Scratch& scratch, std::string_view& name) {
    if (!at('"')) return fail("expected '}' or a member name in double quotes");
    return readQuoted(scratch, name);
  }

  /// Steps over the colon behind a name, and the gap in front of it.
  bool skipColon() {
    if (!at(':') && !skipGap()) return false;
    if (!at(':')) return fail("expected ':' after member name");
    advance();
    if (at(' ')) advance();  // mostly that is the whole gap
    return true;
  }

  /// Reads the string whose opening quote is here. The text is a part of the input, or, where it
  /// has escapes, is decoded into `scratch`.
  bool readQuoted(Scratch& scratch, std::string_view& text) {
    const char* const first = here_ + 1;
    here_ = endOfPlain(first, end_);
    if (!at('"')) {
      if (!follow(decodeQuoted(first, here_, end_, scratch))) return false;
      text = {scratch.begin(), scratch.size()};
      return true;
    }
    text = {first, static_cast<std::size_t>(here_ - first)};
    advance();
    return true;
  }

 private:
  using Chunk = swar::Chunk;

  /// How far a step came, or, with a reason, where it failed.
  struct Step {
    const char* at;
    const char* reason;
  };

  bool follow(const Step& step) {
    if (step.reason != nullptr) return failAt(step.at, step.reason);
    here_ = step.at;
    return true;
  }

  bool failAt(const char* at, const char* reason) {
    if (!failed()) {
      failedAt_ = at;
      reason_ = reason;
    }
    return false;
  }

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

  [[gnu::noinline]] static Step endOfGap(const char* at, const char* end) {
    at = endOfBlanks(at, end);
    if (at == end || classOf(*at) == kOther) [[likely]]
      return {at, nullptr};
    return endOfComments(at, end);
  }

  static const char* endOfBlanks(const char* at, const char* end) {
    while (at != end && classOf(*at) == kBlank) at = endOfSpaces(at + 1, end);
    return at;
  }

  /// Indentation is runs of spaces: a chunk at a time, as long as there is a whole one.
  static const char* endOfSpaces(const char* at, const char* end) {
    for (; static_cast<std::size_t>(end - at) >= Chunk::kSize; at += Chunk::kSize) {
      const Chunk::Marks others = Chunk(at).marksOfOthers(' ');
      if (others != 0) return at + Chunk::first(others);
    }
    return at;
  }

  /// The end of a gap that goes on with a comment.
  [[gnu::noinline]] static Step endOfComments(const char* at, const char* end) {
    while (at != end && classOf(*at) == kComment) {
      const Step comment = endOfComment({at, static_cast<std::size_t>(end - at)});
      if (comment.reason != nullptr) return comment;
      at = endOfBlanks(comment.at, end);
    }
    return {at, nullptr};
  }

  static Step endOfComment(std::string_view text) {
    if (text.front() == '#' || text.starts_with("//")) {
      return endBehind("\n", text, 1, "expected a line feed to end the comment that begins here");
    }
    if (text.starts_with("/*")) {
      return endBehind("*/", text, 2, "expected '*/' to end the comment that begins here");
    }
    return {text.data() + 1, "expected '/' or '*' to begin a comment"};
  }

  static Step endBehind(std::string_view mark, std::string_view text, std::size_t from,
                        const char* reason) {
    const std::size_t found = text.find(mark, from);
    if (found == std::string_view::npos) return {text.data(), reason};
    return {text.data() + found + mark.size(), nullptr};
  }

  /// The next quote or backslash, or the end, a chunk at a time.
  static const char* endOfPlain(const char* at, const char* end) {
    for (; static_cast<std::size_t>(end - at) >= Chunk::kSize; at += Chunk::kSize) {
      const Chunk::Marks marks = Chunk(at).marksOf('"', '\\');
      if (marks != 0) return at + Chunk::first(marks);
    }
    while (at != end && *at != '"' && *at != '\\') ++at;
    return at;
  }

  /// Decodes the string that begins at `first`, behind its quote, and is plain up to `at`.
  [[gnu::noinline]] static Step decodeQuoted(const char* first, const char* at, const char* end,
                                             Scratch& output) {
    output.truncate(0);
    append(output, first, at);
    while (at != end && *at == '\\') {
      const char byte = end - at < 2 ? '\0' : json::escapedByte(at[1]);
      if (byte == '\0') return {at, R"(expected one of the escapes \b \f \n \r \t \" \\ \/)"};
      output.push(byte);
      const char* const plain = at + 2;
      at = endOfPlain(plain, end);
      append(output, plain, at);
    }
    if (at == end) return {first - 1, "expected '\"' to end the string that begins here"};
    return {at + 1, nullptr};
  }

  static void append(Scratch& output, const char* begin, const char* end) {
    const auto size = static_cast<std::size_t>(end - begin);
    if (size != 0) std::memcpy(output.pushMany(size), begin, size);
  }

  const char* data_;
  const char* here_;
  const char* end_;
  const char* failedAt_ = data_;
  const char* reason_ = nullptr;
};

}  // namespace vexo::variant

#endif

// The grammar of the JSON dialect that is read; what becomes of the values is the builder's
// business.
#ifndef VEXO_VARIANT_SRC_JSON_PARSER_H
#define VEXO_VARIANT_SRC_JSON_PARSER_H

#include <string>

#include "number_text.h"
#include "swar.h"
#include "text_cursor.h"

namespace vexo::variant {

/// Reads one value without recursion; the builder keeps the open containers. A builder has
/// - depth(), inObject(): the open containers, and the kind of the innermost;
/// - openArray(), openObject(), and close(), which returns false to stop the parse;
/// - element(): a value follows for a new element; false when there is no key left for it;
/// - name(text, lasting): a value follows for the member of that name; `lasting` tells that the
///   name is a part of the input, rather than decoded;
/// - null(), boolean(bool), number(Held), text(string_view): the value.
template <class Builder>
class JsonParser {
 public:
  /// `scratch` is for strings with escapes.
  JsonParser(const TextCursor& cursor, Builder& builder, TextCursor::Scratch& scratch)
      : cursor_(cursor), builder_(builder), scratch_(scratch) {}

  const TextCursor& cursor() const { return cursor_; }

  /// Reads a gap and one value, and the gap behind it if so told.
  bool parse(bool withGap) { return parseValue() && (!withGap || cursor_.skipGap()); }

 private:
  /// What is to be read next: the steps return to parseValue(), so that none calls another in
  /// depth.
  enum class Next { kValue, kAfterValue, kDone, kFailed };

  bool parseValue() {
    Next next = Next::kValue;
    while (next == Next::kValue || next == Next::kAfterValue) {
      next = next == Next::kAfterValue ? afterValue()
             : cursor_.skipGap()       ? startValue()
                                       : Next::kFailed;
    }
    return next == Next::kDone;
  }

  Next fail(const char* reason) {
    cursor_.fail(reason);
    return Next::kFailed;
  }

  Next startValue() {
    if (cursor_.atEnd()) return fail("expected a value");
    const char c = cursor_.peek();
    switch (c) {
      case '{':
        return openObject();
      case '[':
        return openArray();
      case '"':
        return readText();
      case 't':
      case 'T':
        return readBoolean("true", true);
      case 'f':
      case 'F':
        return readBoolean("false", false);
      case 'n':
      case 'N':
        return readNull();
      default:
        return startsNumber(c) ? readNumber() : fail("expected a value");
    }
  }

  Next openArray() {
    cursor_.advance();
    builder_.openArray();
    if (!cursor_.skipGap()) return Next::kFailed;
    return cursor_.at(']') ? close() : nextElement();
  }

  Next openObject() {
    cursor_.advance();
    builder_.openObject();
    if (!cursor_.skipGap()) return Next::kFailed;
    return cursor_.at('}') ? close() : nextMember();
  }

  Next close() {
    cursor_.advance();
    return builder_.close() ? Next::kAfterValue : Next::kFailed;
  }

  /// What follows a value in the container around it.
  Next afterValue() {
    if (builder_.depth() == 0) return Next::kDone;
    if (!cursor_.at(',') && !cursor_.skipGap()) return Next::kFailed;
    if (cursor_.at(',')) {
      cursor_.advance();
      if (!cursor_.skipGap()) return Next::kFailed;
    }
    if (cursor_.at(builder_.inObject() ? '}' : ']')) return close();
    return builder_.inObject() ? nextMember() : nextElement();
  }

  Next nextElement() {
    if (cursor_.atEnd()) return fail("expected ']' or an element");
    if (!builder_.element()) return fail("no key is left for another element");
    return Next::kValue;
  }

  Next nextMember() {
    if (!cursor_.at('"')) return fail("expected '}' or a member name in double quotes");
    std::string_view name;
    if (!cursor_.readQuoted(scratch_, name)) return Next::kFailed;
    builder_.name(name, name.data() != scratch_.begin());
    if (!cursor_.at(':') && !cursor_.skipGap()) return Next::kFailed;
    if (!cursor_.at(':')) return fail("expected ':' after member name");
    cursor_.advance();
    if (cursor_.at(' ')) cursor_.advance();  // mostly that is the whole gap
    return Next::kValue;
  }

  Next readText() {
    std::string_view text;
    if (!cursor_.readQuoted(scratch_, text)) return Next::kFailed;
    builder_.text(text);
    return Next::kAfterValue;
  }

  /// The word, whose first letter is known to be there, is in lower case; the text need not be.
  bool takeWord(std::string_view word) {
    constexpr std::size_t kTail = 4;  // each word has at least so many letters
    constexpr std::uint32_t kToLower = 0x20202020;
    const auto tailOf = [&](const char* text) {
      return swar::load<std::uint32_t>(text + word.size() - kTail) | kToLower;
    };
    const std::string_view rest = cursor_.rest();
    if (rest.size() < word.size() || tailOf(rest.data()) != tailOf(word.data())) {
      return cursor_.fail("expected true, false or null");
    }
    cursor_.advance(word.size());
    return true;
  }

  Next readBoolean(std::string_view word, bool value) {
    if (!takeWord(word)) return Next::kFailed;
    builder_.boolean(value);
    return Next::kAfterValue;
  }

  Next readNull() {
    if (!takeWord("null")) return Next::kFailed;
    builder_.null();
    return Next::kAfterValue;
  }

  Next readNumber() {
    const NumberPrefix number = parseNumberPrefix(cursor_.rest());
    if (number.value.type == V_NULL) return fail(reasonAgainstNumber(cursor_.rest()));
    cursor_.advance(number.length);
    builder_.number(number.value);
    return Next::kAfterValue;
  }

  TextCursor cursor_;
  Builder& builder_;
  TextCursor::Scratch& scratch_;
};

}  // namespace vexo::variant

#endif

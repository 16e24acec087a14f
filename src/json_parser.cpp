#include "json_parser.h"

#include "compaction.h"
#include "number_text.h"
#include "scalar_text.h"
#include "swar.h"

namespace vexo::variant {

namespace {

/// Reads without recursion: the tree keeps the open containers.
class JsonParser {
 public:
  /// `scratch` is for strings with escapes.
  JsonParser(const JsonCursor& cursor, JsonCursor::Scratch& scratch, TreeGatherer& tree,
             bool compact)
      : cursor_(cursor), scratch_(scratch), tree_(tree), compact_(compact) {}

  const JsonCursor& cursor() const { return cursor_; }

  bool parse() {
    Next next = Next::kValue;
    while (next == Next::kValue || next == Next::kAfterValue) {
      next = next == Next::kAfterValue ? afterValue()
             : cursor_.skipGap()       ? startValue()
                                       : Next::kStopped;
    }
    return next == Next::kDone;
  }

 private:
  /// What is to be read next: the steps return to parse(), so that none calls another in depth.
  enum class Next { kValue, kAfterValue, kDone, kStopped };

  Next fail(const char* reason) {
    cursor_.fail(reason);
    return Next::kStopped;
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
        return readWord("true", hold(true));
      case 'f':
      case 'F':
        return readWord("false", hold(false));
      case 'n':
      case 'N':
        return readWord("null", Held{});
      default:
        return startsNumber(c) ? readNumber() : fail("expected a value");
    }
  }

  Next openArray() {
    cursor_.advance();
    tree_.openArray();
    if (!cursor_.skipGap()) return Next::kStopped;
    return cursor_.at(']') ? close() : nextElement();
  }

  Next openObject() {
    cursor_.advance();
    tree_.openObject();
    if (!cursor_.skipGap()) return Next::kStopped;
    return cursor_.at('}') ? close() : nextMember();
  }

  Next close() {
    cursor_.advance();
    return tree_.close() ? Next::kAfterValue : Next::kStopped;
  }

  /// What follows a value in the container around it.
  Next afterValue() {
    if (tree_.depth() == 0) return Next::kDone;
    if (!cursor_.skipComma()) return Next::kStopped;
    if (cursor_.at(tree_.inObject() ? '}' : ']')) return close();
    return tree_.inObject() ? nextMember() : nextElement();
  }

  Next nextElement() { return cursor_.findElement() ? Next::kValue : Next::kStopped; }

  Next nextMember() {
    std::string_view name;
    if (!cursor_.readName(scratch_, name)) return Next::kStopped;
    std::int64_t key = 0;
    if (parseIntegerName(name, key)) {
      tree_.name(key);
    } else {
      tree_.name(name.data() == scratch_.begin() ? tree_.keep(name) : name);
    }
    return cursor_.skipColon() ? Next::kValue : Next::kStopped;
  }

  Next readText() {
    std::string_view text;
    if (!cursor_.readQuoted(scratch_, text)) return Next::kStopped;
    tree_.addMade([text] { return holdMarkedText(text); });
    return Next::kAfterValue;
  }

  /// The word, whose first letter is known to be there, is in lower case; the text need not be.
  Next readWord(std::string_view word, const Held& value) {
    constexpr std::size_t kTail = 4;  // each word has at least so many letters
    constexpr std::uint32_t kToLower = 0x20202020;
    const auto tailOf = [&](const char* text) {
      return swar::load<std::uint32_t>(text + word.size() - kTail) | kToLower;
    };
    const std::string_view rest = cursor_.rest();
    if (rest.size() < word.size() || tailOf(rest.data()) != tailOf(word.data())) {
      return fail("expected true, false or null");
    }
    cursor_.advance(word.size());
    tree_.add(value);
    return Next::kAfterValue;
  }

  Next readNumber() {
    const NumberPrefix number = parseNumberPrefix(cursor_.rest());
    if (number.value.type == V_NULL) return fail(reasonAgainstNumber(cursor_.rest()));
    cursor_.advance(number.length);
    tree_.add(compact_ ? compacted(number.value) : number.value);
    return Next::kAfterValue;
  }

  JsonCursor cursor_;
  JsonCursor::Scratch& scratch_;
  TreeGatherer& tree_;
  const bool compact_;
};

}  // namespace

[[gnu::flatten]] bool gatherJson(JsonCursor& cursor, TreeGatherer& tree, bool compact) {
  JsonCursor::Scratch scratch;
  JsonParser parser(cursor, scratch, tree, compact);
  const bool done = parser.parse();
  cursor = parser.cursor();
  return done;
}

}  // namespace vexo::variant

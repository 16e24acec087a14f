// The walk over a TOML document: one pass that checks it, then one that tells the visitor.
#include "vexo_parsers/toml.h"

#include <array>
#include <string_view>
#include <vector>

#include "toml_tokens.h"
#include "vexo_utils/file.h"

namespace vexo::parsers::toml {

namespace {

using Step = void (ITomlTreeVisitor::*)();
using Token = void (ITomlTreeVisitor::*)(const char* text);

/// What bytes may stand for.
enum ByteClass : std::uint8_t {
  kCommentByte = 1,  // in a comment: tab and all that is printable
  kBasicByte = 2,    // in a "string", apart from escapes
  kLiteralByte = 4,  // in a 'string'
  kBareKeyByte = 8,
  kWordByte = 16,  // in a number, a date, a time, a boolean
};

constexpr std::array<std::uint8_t, 256> kClasses = [] {
  std::array<std::uint8_t, 256> table{};
  const auto add = [&table](std::string_view bytes, std::uint8_t byteClass) {
    for (const char c : bytes) table[static_cast<unsigned char>(c)] |= byteClass;
  };
  for (unsigned c = 0x20; c < 0x7F; ++c) table[c] = kCommentByte | kBasicByte | kLiteralByte;
  add("\t", kCommentByte | kBasicByte | kLiteralByte);
  table['"'] &= static_cast<std::uint8_t>(~kBasicByte);
  table['\\'] &= static_cast<std::uint8_t>(~kBasicByte);
  table['\''] &= static_cast<std::uint8_t>(~kLiteralByte);
  for (unsigned c = '0'; c <= '9'; ++c) table[c] |= kBareKeyByte | kWordByte;
  for (unsigned c = 'A'; c <= 'Z'; ++c) table[c] |= kBareKeyByte | kWordByte;
  for (unsigned c = 'a'; c <= 'z'; ++c) table[c] |= kBareKeyByte | kWordByte;
  add("-_", kBareKeyByte | kWordByte);
  add("+.:", kWordByte);
  return table;
}();

constexpr bool is(char c, std::uint8_t byteClass) {
  return (kClasses[static_cast<unsigned char>(c)] & byteClass) != 0;
}

/// Lets a pass only check.
struct Nobody {
  void tell(Step) {}
  void tell(Token, std::string_view) {}
};

/// Hands what a pass finds to a visitor.
class VisitorCalls {
 public:
  explicit VisitorCalls(ITomlTreeVisitor& visitor) : visitor_(visitor) {}

  void tell(Step step) { (visitor_.*step)(); }
  void tell(Token token, std::string_view text) {
    text_ = text;
    (visitor_.*token)(text_.c_str());
  }

 private:
  ITomlTreeVisitor& visitor_;
  std::string text_;
};

/// Reads a document. Whatever fails returns false, with the first failure in `error()`.
template <class Listener>
class Walk {
  using V = ITomlTreeVisitor;

 public:
  Walk(std::string_view text, Listener& listener) : text_(text), listener_(listener) {}

  bool document() {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text_.starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
    listener_.tell(&V::enterDocument);
    while (at_ < text_.size()) {
      if (!line()) return false;
    }
    listener_.tell(&V::leaveDocument);
    return true;
  }

  const SyntaxError& error() const { return error_; }

 private:
  enum class Container : std::uint8_t { kArray, kInlineTable };

  bool failAt(std::size_t offset, const char* reason) {
    error_ = {offset, reason};
    return false;
  }
  bool fail(const char* reason) { return failAt(at_, reason); }

  // --- Bytes ---

  bool atByte(char c) const { return at_ < text_.size() && text_[at_] == c; }
  std::string_view rest() const { return text_.substr(at_); }
  bool take(std::string_view mark) {
    if (!rest().starts_with(mark)) return false;
    at_ += mark.size();
    return true;
  }
  void skip(std::uint8_t byteClass) {
    while (at_ < text_.size() && is(text_[at_], byteClass)) ++at_;
  }
  void skipBlanks() {
    while (atByte(' ') || atByte('\t')) ++at_;
  }
  bool takeLineEnd() {
    const std::size_t length = lineEndLength(rest());
    at_ += length;
    return length > 0;
  }
  /// Steps over a run of characters, those beyond ASCII included, which have to be UTF-8.
  bool skipText(std::uint8_t byteClass) {
    for (;;) {
      skip(byteClass);
      if (at_ == text_.size() || static_cast<unsigned char>(text_[at_]) < 0x80) return true;
      const std::size_t length = characterLength(rest());
      if (length == 0) return fail("expected UTF-8");
      at_ += length;
    }
  }

  // --- Lines ---

  bool line() {
    skipBlanks();
    if (atByte('[')) {
      if (!header()) return false;
    } else if (at_ < text_.size() && !atByte('#') && lineEndLength(rest()) == 0) {
      if (!topLevelPair()) return false;
    }
    skipBlanks();
    if (!comment()) return false;
    return at_ == text_.size() || takeLineEnd() || fail("expected the end of the line");
  }

  /// Steps over a comment, if there is one.
  bool comment() { return !atByte('#') || skipText(kCommentByte); }

  bool header() {
    if (take("[[")) {
      return header(&V::enterArrayTable, &V::leaveArrayTable, "]]",
                    "expected ']]' after the name of the array of tables");
    }
    ++at_;
    return header(&V::enterStdTable, &V::leaveStdTable, "]",
                  "expected ']' after the name of the table");
  }
  bool header(Step enter, Step leave, std::string_view end, const char* reason) {
    listener_.tell(enter);
    if (!key()) return false;
    if (!take(end)) return fail(reason);
    listener_.tell(leave);
    return true;
  }

  bool topLevelPair() {
    listener_.tell(&V::enterKeyValue);
    if (!keyAndEquals() || !value()) return false;
    listener_.tell(&V::leaveKeyValue);
    return true;
  }

  // --- Keys ---

  bool keyAndEquals() {
    if (!key()) return false;
    if (!take("=")) return fail("expected '=' after the key");
    skipBlanks();
    return true;
  }

  /// With the blanks behind it.
  bool key() {
    listener_.tell(&V::enterKey);
    do {
      skipBlanks();
      if (!keyPart()) return false;
      skipBlanks();
    } while (take("."));
    listener_.tell(&V::leaveKey);
    return true;
  }

  bool keyPart() {
    const std::size_t start = at_;
    if (atByte('"') || atByte('\'')) {
      return shortString(text_[at_]) && tellFrom(start, &V::visitQuotedKey);
    }
    skip(kBareKeyByte);
    return at_ > start ? tellFrom(start, &V::visitUnquotedKey) : fail("expected a key");
  }

  bool tellFrom(std::size_t start, Token token) {
    listener_.tell(token, text_.substr(start, at_ - start));
    return true;
  }

  // --- Values ---

  /// One value, however deep: open containers are kept in a list.
  bool value() {
    if (!valueStart()) return false;
    while (!open_.empty()) {
      if (!continueContainer()) return false;
    }
    return true;
  }

  /// A scalar, or the opening bracket of a container.
  bool valueStart() {
    if (take("[")) return open(Container::kArray, &V::enterArray);
    if (take("{")) return open(Container::kInlineTable, &V::enterInlineTable);
    if (!scalar()) return false;
    endValue();
    return true;
  }

  bool open(Container container, Step step) {
    listener_.tell(step);
    open_.push_back(container);
    afterValue_ = false;
    return true;
  }

  void endValue() {
    afterValue_ = true;
    if (!open_.empty() && open_.back() == Container::kInlineTable) {
      listener_.tell(&V::leaveKeyValue);
    }
  }

  /// The next comma, element or closing bracket of the innermost container.
  bool continueContainer() {
    if (!skipLines()) return false;
    const bool isArray = open_.back() == Container::kArray;
    if (take(isArray ? "]" : "}")) {
      open_.pop_back();
      listener_.tell(isArray ? &V::leaveArray : &V::leaveInlineTable);
      endValue();
      return true;
    }
    if (afterValue_) {
      afterValue_ = false;
      return take(",") || fail(isArray ? "expected ',' or ']' after the element"
                                       : "expected ',' or '}' after the value");
    }
    return isArray ? valueStart() : inlinePair();
  }

  bool inlinePair() {
    listener_.tell(&V::enterKeyValue);
    return keyAndEquals() && valueStart();
  }

  /// Blanks, line ends and comments.
  bool skipLines() {
    do {
      skipBlanks();
      if (!comment()) return false;
    } while (takeLineEnd());
    return true;
  }

  bool scalar() {
    if (atByte('"')) return string('"', &V::visitBasicString, &V::visitMultilineBasicString);
    if (atByte('\'')) return string('\'', &V::visitLiteralString, &V::visitMultilineLiteralString);
    return word();
  }

  // --- Strings ---

  bool string(char quote, Token shortToken, Token longToken) {
    const std::size_t start = at_;
    const bool isLong = rest().starts_with(quote == '"' ? R"(""")" : "'''");
    return isLong ? longString(quote) && tellFrom(start, longToken)
                  : shortString(quote) && tellFrom(start, shortToken);
  }

  bool shortString(char quote) {
    const std::size_t start = at_++;
    for (;;) {
      if (!stringText(quote, start)) return false;
      if (atByte(quote)) break;
      if (!atByte('\\')) return failInString();
      if (!escape()) return false;
    }
    ++at_;
    return true;
  }

  bool longString(char quote) {
    const std::size_t start = at_;
    at_ += 3;
    for (;;) {
      if (!stringText(quote, start)) return false;
      if (atByte(quote)) {
        if (takeQuotes(quote)) return true;
      } else if (atByte('\\')) {
        if (!continuation() && !escape()) return false;
      } else if (!takeLineEnd()) {
        return failInString();
      }
    }
  }

  bool failInString() {
    return fail(lineEndLength(rest()) > 0 ? "expected a quote to end the string on its line"
                                          : "expected no control character in the string");
  }

  /// The plain text up to the next quote, escape or control character.
  bool stringText(char quote, std::size_t start) {
    if (!skipText(quote == '"' ? kBasicByte : kLiteralByte)) return false;
    return at_ < text_.size() ||
           failAt(start, "expected a quote to end the string that begins here");
  }

  /// Steps over a run of quotes; true when it ends a multi-line string. Up to two quotes are text,
  /// also right before the three at the end.
  bool takeQuotes(char quote) {
    std::size_t count = 0;
    for (; count < 5 && atByte(quote); ++count) ++at_;
    return count >= 3;
  }

  bool continuation() {
    const std::size_t length = lineContinuationLength(rest());
    at_ += length;
    return length > 0;
  }

  bool escape() {
    const std::size_t length = readEscape(rest()).length;
    at_ += length;
    return length > 0 ||
           fail(R"(expected an escape: \b \t \n \f \r \e \" \\ \xHH \uHHHH \UHHHHHHHH)");
  }

  // --- Numbers, booleans, dates and times ---

  bool word() {
    const std::size_t start = at_;
    skip(kWordByte);
    const std::string_view first = text_.substr(start, at_ - start);
    if (first.empty()) return fail("expected a value");
    if (first.size() == kDateLength && startsWithDate(first)) takeTimeAfterBlank();
    const std::string_view text = text_.substr(start, at_ - start);
    const Token token = kindOf(text);
    if (token == nullptr) return failAt(start, reasonAgainst(text));
    listener_.tell(token, text);
    return true;
  }

  /// A single space may separate a date from a time.
  void takeTimeAfterBlank() {
    const std::string_view after = rest().substr(0, 2);
    if (after.size() < 2 || after[0] != ' ' || after[1] < '0' || after[1] > '9') return;
    ++at_;
    skip(kWordByte);
  }

  static Token kindOf(std::string_view text) {
    std::int64_t integer = 0;
    if (text == "true" || text == "false") return &V::visitBoolean;
    if (readInteger(text, integer) == Number::kValid) return &V::visitInteger;
    if (isFloat(text)) return &V::visitFloat;
    DateTime moment;
    if (!readDateTime(text, moment)) return nullptr;
    if (!moment.hasTime) return &V::visitLocalDate;
    if (!moment.hasDate) return &V::visitLocalTime;
    return moment.hasOffset ? &V::visitOffsetDateTime : &V::visitLocalDateTime;
  }

  static const char* reasonAgainst(std::string_view text) {
    std::int64_t integer = 0;
    return readInteger(text, integer) == Number::kTooLarge
               ? "expected an integer of at most 64 bits"
               : "expected a string, number, boolean, date, time, array or table";
  }

  const std::string_view text_;
  Listener& listener_;
  std::size_t at_ = 0;
  SyntaxError error_{0, ""};
  std::vector<Container> open_;
  bool afterValue_ = false;  // whether the innermost container waits for a comma
};

}  // namespace

bool checkToml(const std::string& text, SyntaxError& error) {
  Nobody nobody;
  Walk<Nobody> walk(text, nobody);
  if (walk.document()) return true;
  error = walk.error();
  return false;
}

bool visitTomlTree(const std::string& text, ITomlTreeVisitor& visitor) {
  SyntaxError error;
  if (!checkToml(text, error)) return false;
  VisitorCalls calls(visitor);
  return Walk<VisitorCalls>(text, calls).document();
}

bool visitTomlTree(const FilePath& path, ITomlTreeVisitor& visitor) {
  vexo::utils::File file;
  std::string text;
  return file.Initialize(path.string(), vexo::utils::FILE_OPEN_MODE_READ, 0) &&
         file.ReadStringAll(text) && visitTomlTree(text, visitor);
}

}  // namespace vexo::parsers::toml

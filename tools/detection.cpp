#include "detection.h"

#include <algorithm>

namespace tool {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kNumberBytes = "0123456789abcdefABCDEFx+-.";
constexpr std::string_view kLiterals[] = {"true", "false", "null"};
constexpr std::string_view kTomlWords[] = {"true", "false", "inf", "nan"};

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

char lowerCase(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

bool isBareByte(char byte) {
  const char lower = lowerCase(byte);
  return isDigit(byte) || (lower >= 'a' && lower <= 'z') || byte == '_' || byte == '-';
}

bool contains(std::string_view bytes, char byte) {
  return bytes.find(byte) != std::string_view::npos;
}

void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

std::string_view trimmed(std::string_view text) {
  skipBlanks(text);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// Takes a byte off the front, if it is that one.
bool take(std::string_view& text, char byte) {
  if (!text.starts_with(byte)) return false;
  text.remove_prefix(1);
  return true;
}

/// The first line that is not blank and no comment, without the blanks around it; JSON has comments
/// that begin with a slash too, and what follows them is not looked at.
std::string_view significantLine(std::string_view head) {
  while (!head.empty()) {
    const std::size_t end = std::min(head.find('\n'), head.size());
    const std::string_view line = trimmed(head.substr(0, end));
    if (line.starts_with("//") || line.starts_with("/*")) return {};
    if (!line.empty() && line.front() != '#') return line;
    head.remove_prefix(std::min(end + 1, head.size()));
  }
  return {};
}

/// Takes a part of a key off the front: a bare word, or a quoted one.
bool takePart(std::string_view& text) {
  const char quote = text.empty() ? '\0' : text.front();
  const bool isQuoted = quote == '"' || quote == '\'';
  const std::size_t length =
      isQuoted ? text.find(quote, 1) + 1
               : static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isBareByte) -
                                          text.begin());
  text.remove_prefix(length);  // 0 where there is no closing quote
  return length > 0;
}

/// Takes parts with dots between them.
bool takeKey(std::string_view& text) {
  do {
    skipBlanks(text);
    if (!takePart(text)) return false;
    skipBlanks(text);
  } while (take(text, '.'));
  return true;
}

/// Whether the text in brackets could be an element of a JSON array.
bool isJsonElement(std::string_view text) {
  const auto isNumberByte = [](char byte) { return contains(kNumberBytes, byte); };
  if (isDigit(text.front()) || contains("+-.", text.front())) {
    return std::all_of(text.begin(), text.end(), isNumberByte);
  }
  return std::any_of(std::begin(kLiterals), std::end(kLiterals), [&](std::string_view literal) {
    return std::equal(text.begin(), text.end(), literal.begin(), literal.end(),
                      [](char a, char b) { return lowerCase(a) == b; });
  });
}

/// A table or an array of tables, whose name is not quoted: quoted ones begin JSON arrays.
bool isTableHead(std::string_view line) {
  if (!take(line, '[')) return false;
  const bool isArray = take(line, '[');
  const std::string_view name = trimmed(line.substr(0, line.find(']')));
  std::string_view rest = name;
  if (name.find_first_of("\"'") != std::string_view::npos || !takeKey(rest) || !rest.empty()) {
    return false;
  }
  line.remove_prefix(std::min(line.find(']'), line.size()));
  const bool isClosed = take(line, ']') && (!isArray || take(line, ']'));
  skipBlanks(line);
  return isClosed && (line.empty() || line.front() == '#') && !isJsonElement(name);
}

bool startsTomlValue(std::string_view text) {
  if (text.empty()) return false;
  return isDigit(text.front()) || contains("\"'+-[{", text.front()) ||
         std::any_of(std::begin(kTomlWords), std::end(kTomlWords),
                     [&](std::string_view word) { return text.starts_with(word); });
}

bool isTomlPair(std::string_view line) {
  if (!takeKey(line) || !take(line, '=')) return false;
  skipBlanks(line);
  return startsTomlValue(line);
}

}  // namespace

bool looksLikeToml(std::string_view head) {
  const std::string_view line = significantLine(head);
  return isTableHead(line) || isTomlPair(line);
}

bool looksLikeKvp(std::string_view head) {
  const std::string_view line = significantLine(head);
  const std::size_t mark = line.find_first_of("={[\"");
  return mark != std::string_view::npos && line[mark] == '=';
}

bool hasJsonComments(std::string_view text) {
  bool isInString = false;
  for (std::size_t i = text.find_first_of("\"\\/#"); i < text.size();
       i = text.find_first_of("\"\\/#", i + 1)) {
    if (text[i] == '"') {
      isInString = !isInString;
    } else if (!isInString) {
      return true;
    } else if (text[i] == '\\') {
      ++i;  // what it escapes
    }
  }
  return false;
}

bool hasKvpComments(std::string_view text) {
  return text.starts_with('#') || text.find("\n#") != std::string_view::npos;
}

}  // namespace tool

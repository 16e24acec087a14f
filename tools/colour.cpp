#include "colour.h"

#include <algorithm>
#include <cstddef>

namespace tool {
namespace {

constexpr std::string_view kReset = "\x1b[0m";
constexpr std::string_view kNameColour = "\x1b[1;34m";
constexpr std::string_view kStringColour = "\x1b[32m";
constexpr std::string_view kNumberColour = "\x1b[36m";
constexpr std::string_view kLiteralColour = "\x1b[35m";
constexpr std::string_view kTypeColour = "\x1b[2m";

/// A piece of the text and its colour; no colour for blanks and punctuation.
struct Token {
  std::size_t length;
  std::string_view colour;
};

bool isLetter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

bool isNumberStart(char byte) { return (byte >= '0' && byte <= '9') || byte == '-'; }

bool isWord(char byte) { return isLetter(byte) || isNumberStart(byte) || byte == '.'; }

bool startsToken(char byte) { return isWord(byte) || byte == '"' || byte == '('; }

template <class Predicate>
std::size_t lengthUntil(std::string_view text, Predicate predicate) {
  return static_cast<std::size_t>(std::find_if(text.begin(), text.end(), predicate) - text.begin());
}

std::size_t escapedStringLength(std::string_view text) {
  std::size_t end = text.find_first_of("\"\\", 1);
  while (end < text.size() && text[end] == '\\') end = text.find_first_of("\"\\", end + 2);
  return std::min(end, text.size() - 1) + 1;
}

std::size_t rawStringLength(std::string_view text) {
  constexpr std::string_view kFollowers = ",:\n";
  std::size_t end = text.find('"', 1);
  while (end < text.size() - 1 && kFollowers.find(text[end + 1]) == std::string_view::npos) {
    end = text.find('"', end + 1);
  }
  return std::min(end, text.size() - 1) + 1;
}

Token stringToken(std::string_view text, TextKind kind) {
  const std::size_t length =
      kind == TextKind::kJson ? escapedStringLength(text) : rawStringLength(text);
  const bool isName = text.substr(length, 1) == ":";
  return {length, isName ? kNameColour : kStringColour};
}

Token wordToken(std::string_view text) {
  return {lengthUntil(text, [](char byte) { return !isWord(byte); }),
          isNumberStart(text.front()) ? kNumberColour : kLiteralColour};
}

/// The first token of a text that is not empty.
Token nextToken(std::string_view text, TextKind kind) {
  if (text.front() == '"') return stringToken(text, kind);
  if (text.front() == '(') return {std::min(text.find(')'), text.size() - 1) + 1, kTypeColour};
  if (isWord(text.front())) return wordToken(text);
  return {lengthUntil(text, startsToken), {}};
}

}  // namespace

std::string colourise(std::string_view text, TextKind kind) {
  std::string coloured;
  while (!text.empty()) {
    const Token token = nextToken(text, kind);
    coloured += token.colour;
    coloured += text.substr(0, token.length);
    if (!token.colour.empty()) coloured += kReset;
    text.remove_prefix(token.length);
  }
  return coloured;
}

}  // namespace tool

// TOML: checker, walk and reader agree; the tokens of a document, written as a document again,
// stand for the same tree.
#include "vexo_parsers/toml.h"

#include "check.h"

namespace vexo::fuzz {

using namespace vexo::parsers::toml;

/// Writes the document that it is told of, in one layout.
struct Writer : ITomlTreeVisitor {
  std::string text;
  const char* afterKey = "";
  int depth = 0;

  void enterDocument() override {}
  void leaveDocument() override { require(depth == 0, "all containers are closed"); }
  void enterKeyValue() override { put(", ", ""), afterKey = " = "; }
  void leaveKeyValue() override { text += depth == 0 ? "\n" : ""; }
  void enterStdTable() override { text += '[', afterKey = ""; }
  void leaveStdTable() override { text += "]\n"; }
  void enterArrayTable() override { text += "[[", afterKey = ""; }
  void leaveArrayTable() override { text += "]]\n"; }
  void enterKey() override {}
  void leaveKey() override { text += afterKey; }
  void visitUnquotedKey(const char* token) override { put(".", token); }
  void visitQuotedKey(const char* token) override { put(".", token); }
  void enterArray() override { value("["), ++depth; }
  void leaveArray() override { text += ']', --depth; }
  void enterInlineTable() override { value("{"), ++depth; }
  void leaveInlineTable() override { text += '}', --depth; }
  void visitBasicString(const char* token) override { value(token); }
  void visitMultilineBasicString(const char* token) override { value(token); }
  void visitLiteralString(const char* token) override { value(token); }
  void visitMultilineLiteralString(const char* token) override { value(token); }
  void visitInteger(const char* token) override {
    value(token);
    std::string digits = token;  // C has no underscores, and no letter for octal numbers
    std::erase_if(digits, [](char c) { return c == '_' || c == 'o'; });
    const bool isExpected = parseInteger(token) == std::strtoll(digits.c_str(), nullptr, 0);
    require(isExpected || digits.find('b') == 1, "an integer is what its digits say");
  }
  void visitFloat(const char* token) override {
    value(token);
    std::string number = token;
    std::erase(number, '_');
    require(same(parseFloat(token), std::strtod(number.c_str(), nullptr)), "a float is exact");
  }
  void visitBoolean(const char* token) override { value(token); }
  void visitOffsetDateTime(const char* token) override { value(token); }
  void visitLocalDateTime(const char* token) override { value(token); }
  void visitLocalDate(const char* token) override { value(token); }
  void visitLocalTime(const char* token) override { value(token); }

  /// Tokens and closing brackets end in none of these bytes: only behind one of them the mark is
  /// not needed.
  void put(const char* mark, const char* token) {
    if (!text.empty() && std::string_view("[{ \n").find(text.back()) == text.npos) text += mark;
    text += token;
  }
  void value(const char* token) { put(", ", token); }
};

void run(std::string_view input) {
  const std::string text(input);
  // The functions for tokens have to bear any text.
  parseInteger(text), parseFloat(text), parseBoolean(text);
  unquote(text), unquote(text, "'"), unquote(text, "\"");
  processMultilineString(text), processMultilineLiteralString(text);
  const timeval time = parseDateTime(text);
  require(time.tv_usec >= 0 && time.tv_usec < 1000000, "microseconds are within a second");

  Writer writer, again;
  SyntaxError error{};
  Variant tree, other;
  const bool isToml = checkToml(text, error);
  require(isToml || error.offset <= text.size(), "the error lies in the text");
  require(visitTomlTree(text, writer) == isToml, "checker and walk agree");
  const bool isTree = tree.FromTOML(text);
  require(isTree ? isToml : tree == V_NULL, "checker and reader agree");
  if (!isToml) return require(writer.text.empty(), "nothing is visited");
  const bool isDocument = visitTomlTree(writer.text, again);
  require(isDocument && again.text == writer.text, "the tokens make the same document");
  require(other.FromTOML(writer.text) == isTree && same(other, tree), "it is the same tree");
}

}  // namespace vexo::fuzz

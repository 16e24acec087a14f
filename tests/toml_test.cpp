// TOML: what is a document, what a walk visits, what tokens mean, and the trees that come of it.
// The cases are in toml_cases.txt, which explains its notation.
#include "vexo_parsers/toml.h"

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <fstream>
#include <string>
#include <vector>

#include "host.h"
#include "vexo_variant/toml_text.h"

namespace {

using namespace vexo::parsers::toml;
using namespace vexo::tests;
using namespace vexo::variant;

/// The bytes that a text in the notation stands for.
std::string plain(std::string text) {
  text = replaced(replaced(replaced(replaced(text, "␊", "\n"), "␍", "\r"), "␉", "\t"), "␠", " ");
  for (std::size_t i = 0; (i = text.find("‹")) != std::string::npos;) {  // these have 3 bytes
    if (text[i + 4] == '*')
      text.replace(i, 11, std::stoul(text.substr(i + 5, 3)), text[i + 3]);
    else
      text.replace(i, 8, 1, static_cast<char>(unhex(text.substr(i + 3, 2))[0]));
  }
  return text;
}

std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> result;
  for (const auto& row : table(replaced(text, " ", "   "))) result.push_back(plain(row[0]));
  return result;
}

/// The kind, the text and the result of the cases "kind text => result" of these kinds.
std::vector<std::array<std::string, 3>> cases(const std::string& firstLetters) {
  std::ifstream file(VEXO_TESTS_DIR "/toml_cases.txt");
  std::vector<std::array<std::string, 3>> result;
  for (std::string line; std::getline(file, line);) {
    if (firstLetters.find(line[0]) == std::string::npos) continue;
    const std::string kind = line.substr(0, line.find(' ')), mark = " ¦ ";
    line = line.substr(line.find(' ') + 1) + mark;
    for (std::size_t end; (end = line.find(mark)) != std::string::npos;) {
      std::string text = line.substr(0, end);
      const std::size_t arrow = (text + " =>").find(" =>");
      result.push_back({kind, text.substr(0, arrow), text.erase(0, arrow + 4)});
      line.erase(0, end + mark.size());
    }
  }
  EXPECT_FALSE(result.empty());
  return result;
}

// --- Walks ---------------------------------------------------------------------------------------

// clang-format off
struct Recorder : ITomlTreeVisitor {
  std::string trace;
  void on(const char* sign, const char* text = "") { trace += std::string(" ") + sign + text; }
  void enterDocument() override { on("D"); }       void leaveDocument() override { on("d"); }
  void enterKeyValue() override { on("("); }       void leaveKeyValue() override { on(")"); }
  void enterStdTable() override { on("H"); }       void leaveStdTable() override { on("h"); }
  void enterArrayTable() override { on("HH"); }    void leaveArrayTable() override { on("hh"); }
  void enterKey() override { on("<"); }            void leaveKey() override { on(">"); }
  void enterArray() override { on("["); }          void leaveArray() override { on("]"); }
  void enterInlineTable() override { on("{"); }    void leaveInlineTable() override { on("}"); }
  void visitUnquotedKey(const char* text) override { on(".", text); }
  void visitQuotedKey(const char* text) override { on("~", text); }
  void visitBasicString(const char* text) override { on("s", text); }
  void visitMultilineBasicString(const char* text) override { on("S", text); }
  void visitLiteralString(const char* text) override { on("q", text); }
  void visitMultilineLiteralString(const char* text) override { on("Q", text); }
  void visitInteger(const char* text) override { on("i", text); }
  void visitFloat(const char* text) override { on("f", text); }
  void visitBoolean(const char* text) override { on("b", text); }
  void visitOffsetDateTime(const char* text) override { on("o", text); }
  void visitLocalDateTime(const char* text) override { on("l", text); }
  void visitLocalDate(const char* text) override { on("d", text); }
  void visitLocalTime(const char* text) override { on("t", text); }
};
// clang-format on

/// The trace of a walk, or where the text is not TOML; then nothing may be visited.
std::string walked(const std::string& document) {
  Recorder recorder;
  SyntaxError error{document.size() + 1, nullptr};
  const bool isToml = visitTomlTree(document, recorder);
  EXPECT_TRUE(checkToml(document, error) == isToml && recorder.trace.empty() != isToml) << document;
  EXPECT_TRUE(isToml || (error.offset <= document.size() && error.reason != nullptr)) << document;
  return isToml ? recorder.trace : "fault at " + std::to_string(error.offset);
}

void expectToml(const std::string& document, const std::string& trace) {
  const std::string whole = (trace.empty() ? " D" : " D ") + trace + " d";
  const std::string ends = document.find('\r') == std::string::npos ? "\r\n" : "\n";
  EXPECT_EQ(walked(document), whole) << document;
  EXPECT_EQ(walked(replaced(document + "\n #", "\n", ends)), replaced(whole, "\n", ends));
  for (std::size_t i = 0; i < document.size(); ++i) walked(document.substr(0, i));
}

void expectFault(const std::string& marked) {
  const std::string document = replaced(marked, "»", ""), before = "k = '''\n'''\n[t]\r\n";
  const std::string fault = walked(before + document);
  const std::size_t offset = before.size() + marked.find("»");
  EXPECT_EQ(fault, document == marked ? fault : "fault at " + std::to_string(offset)) << marked;
  EXPECT_EQ(walked(document)[0] + fault.substr(0, 1), "ff") << document;
}

TEST(Toml, DocumentsAndWhatIsVisited) {
  const auto places = cases("@");
  for (const auto& [kind, text, trace] : cases("+-")) {
    for (const std::string& word : kind[1] == 0 ? std::vector{plain(text)} : words(text)) {
      const std::string token = kind[1] == 0 ? plain(trace) : kind[1] + word;
      for (const auto& [kinds, around, calls] : places) {
        if (kinds.find(kind.back()) == std::string::npos) continue;
        const std::string document = replaced(plain(around), "□", word);
        if (kind[0] == '-') expectFault(document);
        if (kind[0] == '+') expectToml(document, replaced(plain(calls), "□", token));
      }
    }
  }
}

TEST(Toml, EveryByteInEveryPlace) {
  for (const auto& [kind, text, ranges] : cases("*")) {
    std::string allowed;
    for (const std::string& range : words(ranges))
      for (char c = range.front(); allowed += c, c != range.back();) ++c;
    for (int i = 0; i < 256; ++i) {
      const std::string byte(1, static_cast<char>(i)), document = replaced(plain(text), "□", byte);
      EXPECT_EQ(walked(document)[0] == 'f', allowed.find(byte) == std::string::npos) << document;
    }
  }
}

// --- Tokens --------------------------------------------------------------------------------------

/// What the function for a kind of token tells, as text.
std::string meaning(char kind, const std::string& text) {
  char digits[32];
  const timeval time = parseDateTime(text);
  if (kind == 'i') return std::to_string(parseInteger(text));
  if (kind == 'f') return {digits, std::to_chars(digits, digits + 32, parseFloat(text)).ptr};
  if (kind == 'b') return std::to_string(parseBoolean(text));
  if (kind == 's' || kind == 'q') return unquote(text, kind == 's' ? "\"" : "'");
  if (kind == '~') return unquote(text);
  if (kind == 'S') return processMultilineString(text);
  if (kind == 'Q') return processMultilineLiteralString(text);
  return std::to_string(time.tv_sec) + " " + std::to_string(time.tv_usec);
}

TEST(Toml, Tokens) {
  for (const auto& [kind, token, result] : cases(sizeof(timeval::tv_sec) < 8 ? "=" : "=O"))
    EXPECT_EQ(meaning(kind.back(), plain(token)), plain(result)) << token;
  for (const auto& [kind, texts, unused] : cases("-"))
    for (const std::string& text : words(kind == "-v" ? texts : "")) {
      EXPECT_EQ(meaning('i', text) + meaning('f', text) + meaning('o', text), "000 0") << text;
      for (const char c : {'s', 'q', '~', 'S', 'Q'})
        EXPECT_LE(meaning(c, text).size(), text.size());
    }
}

// --- Trees ---------------------------------------------------------------------------------------

/// The result of a FromTOML in one line, with types, and what was logged.
std::string shown(const Variant& value, bool isRead) {
  std::string text = replaced(replaced(value.ToString(), "    ", ""), "\n", "");
  for (const std::string& message : takeMessages()) text += "; " + message;
  return text + (isRead ? "" : "; false");
}

TEST(Toml, Trees) {
  const TemporaryFile file;
  Variant value = parsed("[1]");
  EXPECT_EQ(shown(value, value.FromTOMLFile(file.path)),
            "(NULL) null; src/variant_toml FromTOMLFile 3: Failed to parse TOML file; false");
  for (const auto& [kind, text, tree] : cases("T")) {
    const std::string document = plain(text), expected = plain(tree);
    EXPECT_EQ(shown(value, value.FromTOML(document)), expected) << text;
    const std::string& inside = value = document;
    EXPECT_EQ(shown(value, value.FromTOML(inside.data(), unsigned(inside.size()))), expected);
    const std::string& again = value = document;
    TextError error;
    const bool isRead = readTomlText(again.data(), unsigned(again.size()), value, error);
    EXPECT_EQ(shown(value, isRead), expected) << text;
    const bool isConflict = expected.find("TOML data is not valid") != std::string::npos;
    EXPECT_TRUE(isRead || (error.reason == kTomlKeyConflict) == isConflict) << text;
    file.write(document);
    const std::string result = shown(value, value.FromTOMLFile(file.path));
    EXPECT_EQ(replaced(replaced(result, "File", ""), "TOML file", "TOML data"), expected) << text;
  }
}

TEST(Toml, FaultsHavePlaceAndReason) {
  for (const auto& row : table(R"(
      a = => 1:4   ␊ [a␍␊ => 2:4   k = "é€😀" x => 1:11   # é␊k = 'é'␊"é" = [1,␊ 2 ? => 4:4   = => 1:1
      a = 1␊a = "\q" => 2:6   a = 99999999999999999999 => 1:5   a = '''␊␊ => 1:5)")) {
    const std::string document = plain(row[0]);
    Variant value = document;
    TextError error;
    const std::string& inside = value;
    EXPECT_FALSE(readTomlText(inside.data(), unsigned(inside.size()), value, error));
    EXPECT_TRUE(told(error).starts_with(row[1] + ": ")) << told(error);
    SyntaxError fault{};
    EXPECT_TRUE(value == V_NULL && !checkToml(document, fault) &&
                error.position.offset == fault.offset);
    EXPECT_STREQ(error.reason, fault.reason);
    EXPECT_EQ(takeMessages(), Messages{"src/variant_toml FromTOML 3: Failed to parse TOML data"});
  }
}

TEST(Toml, KeyConflictsHaveAPlace) {
  for (const auto& row : table(R"(
      a=1␊[a] => 2:2   a=1 # a␊ [[ a . b ]] => 2:5   a=1␊x.a=2␊a.b=2 => 3:1   "é"=1␊["é"] => 2:2   [""] => 1:2
      a=[1]␊[a]␊b=1␊[c]␊'x/y' = {} => 5:1   a={b=1,'é'=2,b={}} => 1:14   a=[{c=1,c.d=2}]␊[a.c] => 1:9
      ‹EF›‹BB›‹BF›a=1␍␊[a] => 2:2)")) {
    Variant value;
    TextError error;
    const std::string document = plain(row[0]);
    EXPECT_FALSE(readTomlText(document.data(), unsigned(document.size()), value, error));
    EXPECT_EQ(told(error), row[1] + ": " + kTomlKeyConflict) << row[0];
  }
  for (const auto& [kind, text, tree] : cases("T")) {  // whatever stands in front
    const std::string document = plain(text);
    Variant value;
    std::size_t conflict = 0;
    if (!value.FromTOML(document)) continue;
    EXPECT_FALSE(readTomlTree(document + "\n['/']", value, conflict));
    EXPECT_EQ(conflict, document.size() + 2) << text;
  }
  takeMessages();
}

}  // namespace

// TOML 1.1.0: a walk over a document that hands its tokens to a visitor, and what they mean.
#ifndef VEXO_PARSERS_TOML_H
#define VEXO_PARSERS_TOML_H

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace vexo::parsers::toml {

/// Learns of every construct of a document, in document order. Token texts are as they stand in the
/// document, quotes included, and end at a zero byte; they live for the one call.
///
/// The order: enterDocument first, leaveDocument last. A key is enterKey, one visit...Key for each
/// of its dotted parts, leaveKey. A key/value pair is enterKeyValue, a key, a value, leaveKeyValue.
/// The header of a table (of an array of tables) is enterStdTable (enterArrayTable), a key,
/// leaveStdTable (leaveArrayTable); the pairs of the table follow. A value is one visit, or
/// enterArray, values, leaveArray, or enterInlineTable, pairs, leaveInlineTable. In any other order
/// the library reads no tree.
class ITomlTreeVisitor {
 public:
  virtual ~ITomlTreeVisitor() = default;

  virtual void enterDocument() = 0;
  virtual void leaveDocument() = 0;
  virtual void enterKeyValue() = 0;
  virtual void leaveKeyValue() = 0;
  virtual void enterStdTable() = 0;
  virtual void leaveStdTable() = 0;
  virtual void enterArrayTable() = 0;
  virtual void leaveArrayTable() = 0;
  virtual void enterKey() = 0;
  virtual void leaveKey() = 0;
  virtual void visitUnquotedKey(const char* text) = 0;
  virtual void visitQuotedKey(const char* text) = 0;
  virtual void enterArray() = 0;
  virtual void leaveArray() = 0;
  virtual void enterInlineTable() = 0;
  virtual void leaveInlineTable() = 0;
  virtual void visitBasicString(const char* text) = 0;
  virtual void visitMultilineBasicString(const char* text) = 0;
  virtual void visitLiteralString(const char* text) = 0;
  virtual void visitMultilineLiteralString(const char* text) = 0;
  virtual void visitInteger(const char* text) = 0;
  virtual void visitFloat(const char* text) = 0;
  virtual void visitBoolean(const char* text) = 0;
  virtual void visitOffsetDateTime(const char* text) = 0;
  virtual void visitLocalDateTime(const char* text) = 0;
  virtual void visitLocalDate(const char* text) = 0;
  virtual void visitLocalTime(const char* text) = 0;
};

/// The path of a file, as distinct from a text.
class FilePath {
 public:
  explicit FilePath(std::string path) : path_(std::move(path)) {}
  const std::string& string() const { return path_; }

 private:
  std::string path_;
};

/// Walks a document. Nothing is visited, and the result is false, unless the whole text is TOML
/// (or when the file cannot be read). Which keys may be repeated is up to the visitor. The stack
/// used does not grow with the nesting. May throw `std::bad_alloc`.
__attribute__((visibility("default"))) bool visitTomlTree(const std::string& text,
                                                          ITomlTreeVisitor& visitor);
__attribute__((visibility("default"))) bool visitTomlTree(const FilePath& path,
                                                          ITomlTreeVisitor& visitor);

/// Where and why a text is not TOML.
struct SyntaxError {
  std::size_t offset;  ///< in bytes
  const char* reason;  ///< such as "expected '=' after the key"; a constant
};

/// Whether the text is TOML; if not, tells the first fault.
__attribute__((visibility("default"))) bool checkToml(const std::string& text, SyntaxError& error);

// What a token means. Each takes the text of a token of its kind. Any other text gives 0, false or
// the epoch; of a string, quotes that are not a pair and escapes that are none stay as they are.

/// Decimal, or hexadecimal, octal, binary after 0x, 0o, 0b; underscores between digits.
__attribute__((visibility("default"))) std::int64_t parseInteger(std::string text);
/// The nearest double; beyond the range infinity or zero.
__attribute__((visibility("default"))) double parseFloat(std::string text);
__attribute__((visibility("default"))) bool parseBoolean(const std::string& text);
/// The moment of a date-time; UTC when it has no offset. Digits beyond the microseconds are
/// dropped. Moments that this build's `timeval` cannot hold become the nearest that it can.
__attribute__((visibility("default"))) timeval parseDateTime(const std::string& text);
/// The content of a single-line string whose quote is " (escapes are resolved) or '.
__attribute__((visibility("default"))) std::string unquote(std::string text,
                                                           const std::string& quote);
/// The same for a quoted key; the quote is its first byte.
__attribute__((visibility("default"))) std::string unquote(std::string text);
/// The content of a multi-line string; a line end right behind the opening quotes is dropped. In
/// """ strings escapes are resolved, and a backslash at the end of a line takes the white space
/// after it along.
__attribute__((visibility("default"))) std::string processMultilineString(std::string text);
__attribute__((visibility("default"))) std::string processMultilineLiteralString(std::string text);

}  // namespace vexo::parsers::toml

#endif

// Where and why a text could not be read: what the silent readers of Variant leave out.
#ifndef VEXO_VARIANT_TEXT_ERROR_H
#define VEXO_VARIANT_TEXT_ERROR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "vexo_variant/variant.h"

namespace vexo::variant {

/// A place in a text. Lines end at line feeds; columns count characters (UTF-8 code points).
struct TextPosition {
  std::size_t offset = 0;    ///< in bytes, from 0
  std::uint64_t line = 1;    ///< from 1
  std::uint64_t column = 1;  ///< from 1
};

/// Why a text was refused, and where.
struct TextError {
  TextPosition position;    ///< of what the reason is about
  const char* reason = "";  ///< such as "expected ':' after member name"; a constant
};

/// The line and column of a byte offset in a text of `length` bytes. Linear in `offset`.
VEXO_VARIANT_API TextPosition locateText(const char* data, std::size_t length, std::size_t offset);
/// The same.
inline TextPosition locateText(std::string_view text, std::size_t offset) {
  return locateText(text.data(), text.size(), offset);
}

/// Does what `target.FromJSON(data, length)` does and returns the same; on -1 also fills `error`.
/// Never logs.
VEXO_VARIANT_API int readJsonText(const char* data, unsigned int length, Variant& target,
                                  TextError& error);
/// The same.
inline int readJsonText(std::string_view text, Variant& target, TextError& error) {
  return readJsonText(text.data(), detail::lengthOf(text), target, error);
}

/// Does what `target.FromKVP(data, length, ...)` does and returns the same; on false also fills
/// `error`. Logs the lines that it skips.
VEXO_VARIANT_API bool readKvpText(const char* data, unsigned int length, bool numericKeysAsStrings,
                                  bool valuesAsStrings, bool splitKeys, Variant& target,
                                  TextError& error);
/// The same; texts of 4 GiB and more are refused, with the value as it was.
inline bool readKvpText(std::string_view text, bool numericKeysAsStrings, bool valuesAsStrings,
                        bool splitKeys, Variant& target, TextError& error) {
  const unsigned int length = detail::lengthOf(text);
  if (length == text.size()) {
    return readKvpText(text.data(), length, numericKeysAsStrings, valuesAsStrings, splitKeys,
                       target, error);
  }
  error = {{}, "expected a text of less than 4 GiB"};
  return false;
}

/// No place in a text.
inline constexpr std::size_t kNoOffset = static_cast<std::size_t>(-1);

/// Does what `target.FromTOML(text)` does and returns the same, with the same messages; on false
/// `conflict` is the offset of the first key that cannot name a table or an array where it is to do
/// so, or kNoOffset when the text is not TOML (or when the platform's walker does not hand over
/// tokens as they stand in the text). `readTomlText` of <vexo_variant/toml_text.h> tells all
/// faults.
VEXO_VARIANT_API bool readTomlTree(const std::string& text, Variant& target, std::size_t& conflict);

}  // namespace vexo::variant

#endif

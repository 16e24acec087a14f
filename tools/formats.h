// The formats of the command: one table, one row each.
#ifndef VEXO_TOOLS_FORMATS_H
#define VEXO_TOOLS_FORMATS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "repeats.h"
#include "report.h"
#include "vexo_variant/variant.h"

namespace tool {

/// How to read and write; each format looks at what concerns it.
struct FormatOptions {
  bool compact = false;  ///< JSON on one line
  std::string kvpSeparator = "=";
  bool kvpFlat = false;     ///< dots in the keys that are read mean nothing
  bool kvpStrings = false;  ///< all values that are read are strings
};

/// What the bytes of a format are when they are shown.
enum class Content { kBinary, kText, kJson };

/// One format. A failure to read or to write ends the command.
struct Format {
  std::string_view name;
  std::array<std::string_view, 2> extensions;  ///< in lower case, unused ones empty
  Content content;
  std::uint64_t maxInput;  ///< in bytes
  /// Whether an input that starts with these bytes is taken for this format; null: never.
  bool (*matches)(std::string_view head);
  /// Null for a format that can only be written.
  void (*read)(const std::string& input, const FormatOptions& options,
               vexo::variant::Variant& value, const Reporter& reporter);
  /// Null for a format that can only be read.
  std::string (*write)(const vexo::variant::Variant& value, const FormatOptions& options,
                       const Reporter& reporter);

  /// Whether an input that was read has comments, which no output keeps; null: never.
  bool (*hasComments)(std::string_view input);
  /// The names that an input that was read gives more than once; null: never.
  std::vector<Repeat> (*repeats)(const std::string& input);

  /// These end the command for a format that lacks the direction; `path` is the file concerned.
  const Format& readable(const std::string& path) const;
  const Format& writable(const std::string& path) const;
};

enum class FormatUse { kRead, kWrite };

/// Puts the name of a format in lower case, and returns what is wrong with it: nothing when it
/// names one that has this use.
std::string acceptFormatName(std::string& name, FormatUse use);
/// Null for an unknown name.
const Format* formatByName(std::string_view name);
/// By the extension of a path, in any case of letters; null when it belongs to no format.
const Format* formatByExtension(const std::string& path);
const Format& formatByContent(std::string_view head);

}  // namespace tool

#endif

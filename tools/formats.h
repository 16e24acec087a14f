// The formats of the command: one table, one row each.
#ifndef VEXO_TOOLS_FORMATS_H
#define VEXO_TOOLS_FORMATS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "report.h"
#include "vexo_variant/variant.h"

namespace tool {

/// One format. A failure to read or to write ends the command.
struct Format {
  std::string_view name;
  std::array<std::string_view, 2> extensions;  ///< in lower case, unused ones empty
  bool isText;                                 ///< output ends with a line feed and may be coloured
  std::uint64_t maxInput;                      ///< in bytes
  /// Whether an input that starts with these bytes is taken for this format.
  bool (*matches)(std::string_view head);
  void (*read)(const std::string& input, vexo::variant::Variant& value, const Reporter& reporter);
  std::string (*write)(const vexo::variant::Variant& value, bool compact, const Reporter& reporter);
};

std::vector<std::string> formatNames();
/// Null for an unknown name.
const Format* formatByName(std::string_view name);
/// By the extension of a path, in any case of letters; null when it belongs to no format.
const Format* formatByExtension(const std::string& path);
const Format& formatByContent(std::string_view head);

}  // namespace tool

#endif

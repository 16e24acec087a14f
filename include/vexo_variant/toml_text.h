// readTomlText: TOML with the place of its first fault. In a header of its own, because it asks the
// walker of <vexo_parsers/toml.h> for that place, which the library itself never does: a host whose
// platform layer has no `checkToml` leaves this header out.
#ifndef VEXO_VARIANT_TOML_TEXT_H
#define VEXO_VARIANT_TOML_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "vexo_parsers/toml.h"
#include "vexo_variant/text_error.h"

namespace vexo::variant {

/// The reason when a text is TOML, but a key in it cannot name a table or an array where it is to
/// do so, as docs/toml.md tells.
inline constexpr const char* kTomlKeyConflict =
    "expected a key that is used for nothing else, not empty, without slashes or brackets";

/// Does what `target.FromTOML(document)` does and returns the same, with the same messages; on
/// false also fills `error`. The position of kTomlKeyConflict is that of the first such key (of a
/// dotted key, that of the part); the beginning of the text with a platform whose walker does not
/// hand over tokens as they stand there.
inline bool readTomlText(std::string_view document, Variant& target, TextError& error) {
  const std::string text(document);  // it may be a part of `target`
  std::size_t conflict = kNoOffset;
  if (readTomlTree(text, target, conflict)) return true;
  parsers::toml::SyntaxError fault{};
  if (parsers::toml::checkToml(text, fault)) {
    fault = {conflict != kNoOffset ? conflict : 0, kTomlKeyConflict};
  }
  error = {locateText(text, fault.offset), fault.reason};
  return false;
}
/// The same.
inline bool readTomlText(const char* data, unsigned int length, Variant& target, TextError& error) {
  return readTomlText(std::string_view(data, length), target, error);
}

}  // namespace vexo::variant

#endif

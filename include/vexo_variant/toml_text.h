// readTomlText: TOML with the place of its first fault. In a header of its own, because it asks the
// walker of <vexo_parsers/toml.h> for that place, which the library itself never does: a host whose
// platform layer has no `checkToml` leaves this header out.
#ifndef VEXO_VARIANT_TOML_TEXT_H
#define VEXO_VARIANT_TOML_TEXT_H

#include <string>

#include "vexo_parsers/toml.h"
#include "vexo_variant/text_error.h"

namespace vexo::variant {

/// The reason when a text is TOML, but uses one key for a table or an array and for something else.
inline constexpr const char* kTomlKeyConflict =
    "expected a key that is not used for something else (the log names it)";

/// Does what `target.FromTOML(data, length)` does and returns the same, with the same messages; on
/// false also fills `error`. Of a key that is used for two things (kTomlKeyConflict) the place is
/// not known: the position is the beginning of the text.
inline bool readTomlText(const char* data, unsigned int length, Variant& target, TextError& error) {
  const std::string text(data, length);  // it may be a part of `target`
  if (target.FromTOML(text)) return true;
  parsers::toml::SyntaxError fault{};
  if (parsers::toml::checkToml(text, fault)) {
    error = {{}, kTomlKeyConflict};
  } else {
    error = {locateText(text.data(), text.size(), fault.offset), fault.reason};
  }
  return false;
}

}  // namespace vexo::variant

#endif

// The text of scalars that has no quotes around it: what every text form writes.
#ifndef VEXO_VARIANT_SRC_SCALAR_TEXT_H
#define VEXO_VARIANT_SRC_SCALAR_TEXT_H

#include <memory>
#include <string>
#include <string_view>

#include "text_sink.h"
#include "variant_access.h"

namespace vexo::variant {

/// What marks a text as a buffer; base64 follows.
inline constexpr std::string_view kBinaryMarker = "b64:";

/// An owned buffer of the bytes that a base64 text stands for, of which there are none when the
/// text is broken.
std::unique_ptr<VariantBuffer> decodeBase64(std::string_view text);
/// Whether the text that these bytes were decoded from was not broken.
inline bool wasBase64(std::string_view text, const VariantBuffer& decoded) {
  return text.empty() || decoded.size > 0;
}

/// Appends the base64 text of a buffer; false, with nothing appended, when it cannot be encoded.
bool appendBase64(const VariantBuffer& buffer, TextSink& output);

/// Appends the text of anything but a map: "null", "true", "-5", "2.500000", a timestamp, the
/// string, or marker and base64. False when a buffer cannot be encoded; other types add nothing.
bool appendScalarText(const Variant& value, TextSink& output);

/// The value that a quoted text stands for: a buffer, a timestamp or a string.
Held holdMarkedText(std::string_view text);

}  // namespace vexo::variant

#endif

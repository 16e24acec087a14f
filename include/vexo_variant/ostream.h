// Values in output streams, as JSON. Apart from variant.h, because few programs want <ostream>.
#ifndef VEXO_VARIANT_OSTREAM_H
#define VEXO_VARIANT_OSTREAM_H

#include <ios>
#include <ostream>
#include <string>

#include "vexo_variant/variant.h"

namespace vexo::variant {

/// Writes the value as JSON, as ToJSON does: indented by four spaces a level when the stream has a
/// width (`out << std::setw(4) << value`; which one does not matter), otherwise compact. A string
/// is quoted; `out << std::string(value)` writes its bytes alone. Neither the locale of the stream
/// nor its flags change the text. The width is 0 afterwards.
///
/// Takes a Variant, or an object of a class derived from it, and nothing that would first have to
/// become one. The text is made as a whole before it is written; a stream that is not good() only
/// gets failbit, and costs no more.
///
/// When a buffer cannot be encoded failbit is set and nothing is written; the stream sets badbit,
/// as always, when it cannot take the text. `std::bad_alloc` passes through, with nothing written.
/// A value of an unknown type is a contract violation: "Invalid type %d".
template <class Traits, class V, detail::IfVariant<V> = 0>
std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& output,
                                             const V& value) {
  const bool pretty = output.width(0) > 0;
  std::string text;
  if (output.good() && static_cast<const Variant&>(value).ToJSON(text, pretty)) {
    output.write(text.data(), static_cast<std::streamsize>(text.size()));
  } else {
    output.setstate(std::ios_base::failbit);
  }
  return output;
}

}  // namespace vexo::variant

#endif

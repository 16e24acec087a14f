// What becomes of a tree in an output format: asked before it is written.
#ifndef VEXO_TOOLS_SURVEY_H
#define VEXO_TOOLS_SURVEY_H

#include <cstdint>
#include <string>

#include "report.h"
#include "vexo_variant/variant.h"

namespace tool {

/// The formats that lose something of a tree, as bits of a set.
enum Target : unsigned {
  kToJson = 1,
  kToKvp = 2,
  kToAmf = 4,
};

/// How often something was met in a tree, and the key chain of the first place.
struct Finding {
  std::uint64_t count = 0;
  std::string firstPath;
};

/// Warns of each kind of loss once.
void warnOfLosses(const vexo::variant::Variant& root, Target target, const Reporter& reporter);

/// Indentation grows with the square of the depth. Where it would take most of a large JSON text
/// this warns and returns false, for the text to be written compact; a nest of arrays gets there at
/// 4,096 levels.
bool allowsIndent(const vexo::variant::Variant& root, const Reporter& reporter);

/// The size in bytes of a map as KVP, which grows with the square of the depth.
std::uint64_t kvpTextSize(const vexo::variant::Variant& root, const std::string& separator);

/// The integer keys that BIN cannot store: those below 0 and from 2^56 up.
Finding findKeysOutsideBin(const vexo::variant::Variant& root);

}  // namespace tool

#endif

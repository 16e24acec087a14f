// What becomes of a tree in an output format: asked before it is written.
#ifndef VEXO_TOOLS_SURVEY_H
#define VEXO_TOOLS_SURVEY_H

#include <cstdint>
#include <string>

#include "report.h"
#include "vexo_variant/variant.h"

namespace tool {

/// How often something was met in a tree, and the key chain of the first place.
struct Finding {
  std::uint64_t count = 0;
  std::string firstPath;
};

/// What JSON text loses of a tree, and what its indentation takes.
struct TextSurvey {
  Finding roundedDoubles;   ///< six decimals give another number
  Finding infiniteDoubles;  ///< infinities and NaN, which JSON has no text for
  Finding typedMaps;        ///< only a placeholder is written
  std::uint64_t lines = 0;
  std::uint64_t indentation = 0;  ///< in bytes

  void warnOfLosses(const Reporter& reporter) const;
  /// Indentation grows with the square of the depth. Where it would take most of a large text this
  /// warns and returns false, for the text to be written compact; a nest of arrays gets there at
  /// 4,096 levels.
  bool allowsIndent(const Reporter& reporter) const;
};

TextSurvey surveyText(const vexo::variant::Variant& root);

/// The integer keys that BIN cannot store: those below 0 and from 2^56 up.
Finding findKeysOutsideBin(const vexo::variant::Variant& root);

}  // namespace tool

#endif

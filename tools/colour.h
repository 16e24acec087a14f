// Colours for texts that are shown on a terminal.
#ifndef VEXO_TOOLS_COLOUR_H
#define VEXO_TOOLS_COLOUR_H

#include <string>
#include <string_view>

namespace tool {

/// How strings end in a text.
enum class TextKind {
  kJson,       ///< at the first quote that is not escaped
  kAnnotated,  ///< nothing is escaped: at a quote that is followed by ',', ':' or the end of a line
};

/// The same text with colour codes put between its bytes; without them it is `text` again.
std::string colourise(std::string_view text, TextKind kind);

}  // namespace tool

#endif

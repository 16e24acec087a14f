// Suggestions for words that are not known: a similar one that is.
#ifndef VEXO_TOOLS_SUGGESTION_H
#define VEXO_TOOLS_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

#include "vexo_variant/variant.h"

namespace tool {

/// Whether two texts are the same but for the case of ASCII letters.
bool equalButForCase(std::string_view a, std::string_view b);

/// " (did you mean WORD?)", or nothing for an empty word.
std::string didYouMean(const std::string& word);
/// The same for the candidate that is most like the word, if one is.
std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates);

/// A key chain that leads somewhere and was perhaps meant by one that leads nowhere: with slashes
/// for dots, brackets around integer keys, an index counted from the end, other letter case, a
/// letter corrected. Empty when there is none.
std::string similarChain(const vexo::variant::Variant& root, std::string_view chain);

}  // namespace tool

#endif

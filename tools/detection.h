// Guesses the format of a text from how it begins, and finds comments.
#ifndef VEXO_TOOLS_DETECTION_H
#define VEXO_TOOLS_DETECTION_H

#include <string_view>

namespace tool {

// The first two look at the first line that is neither blank nor a comment after '#', in the first
// bytes of an input. No rule is right for every text: `port=80` is TOML and KVP alike (and taken
// for TOML). What neither takes is left to JSON, and so is a text whose first bytes hold no such
// line.

/// The head of a table, as in `[network]` or `[[streams]]` (but not `[true]` or `[5]`, which are
/// JSON), or a key, '=' and the beginning of a TOML value: a quote, digit, sign, bracket or brace,
/// true, false, inf or nan.
bool looksLikeToml(std::string_view head);

/// A '=' before any quote, bracket or brace.
bool looksLikeKvp(std::string_view head);

/// Whether there are comments in a text that is well formed.
bool hasJsonComments(std::string_view text);
bool hasKvpComments(std::string_view text);

}  // namespace tool

#endif

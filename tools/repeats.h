// Names that a text gives more than once: readers merge what they name, or take the last.
#ifndef VEXO_TOOLS_REPEATS_H
#define VEXO_TOOLS_REPEATS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A name that was given before, as it stands in the text.
struct Repeat {
  std::size_t offset;
  std::string_view name;
};

// All repeats in a text that its reader takes, in their order.

/// Names in one object, also when spelled differently, as "a/b" and "a\/b", "5" and "05".
std::vector<Repeat> repeatedJsonNames(const std::string& text);
/// Keys that are spelled the same.
std::vector<Repeat> repeatedKvpKeys(const std::string& text);
/// Keys with a value and headers of tables that are given again in the same table; not where a
/// dotted key or the header of a subtable has made a table before.
std::vector<Repeat> repeatedTomlKeys(const std::string& text);

}  // namespace tool

#endif

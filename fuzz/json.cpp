// JSON: what is read is written and read again, and all ways to read agree.
#include <vector>

#include "check.h"

namespace vexo::fuzz {

void run(std::string_view text) {
  Variant tree, other, prefixTree;
  TextError error;
  const int length = tree.FromJSON(text.data(), sizeOf(text));
  require(length <= static_cast<int>(text.size()), "no more is read than there is");
  const int lengthThere = readJsonText(text.data(), sizeOf(text), other, error);
  require(lengthThere == length && same(other, tree), "both readers agree");
  // A block of its own: reading past the end is found.
  const std::vector<char> prefix(text.begin(), text.begin() + pick(text, text.size()));
  prefixTree.FromJSON(prefix.data(), static_cast<unsigned>(prefix.size()));
  if (length < 0) {
    const std::string_view before = text.substr(0, error.position.offset);  // throws beyond the end
    const auto lines = std::count(before.begin(), before.end(), '\n');
    return require(error.position.line == static_cast<unsigned>(lines) + 1, "lines are counted");
  }
  // A target that holds something already is built member by member, not a container at a time.
  other = "";
  require(readJson(text.data(), sizeOf(text), other) >= 0, "both builders read it");
  other.Compact();
  require(same(other, tree) || tree == V_NULL, "both builders agree");
  const Variant again = requireJsonReadsBack(tree);
  require(!isExpressible(tree) || same(again, tree), "JSON text stands for the tree");
}

}  // namespace vexo::fuzz

// JSON: what is read is written and read again, and all ways to read agree.
#include <vector>

#include "check.h"

namespace vexo::fuzz {

void run(std::string_view text) {
  Variant tree, other, prefixTree, object;
  TextError error;
  const int length = tree.FromJSON(text.data(), sizeOf(text));
  require(length <= static_cast<int>(text.size()), "no more is read than there is");
  const int lengthThere = readJsonText(text.data(), sizeOf(text), other, error);
  require(lengthThere == length && same(other, tree), "both readers agree");
  // A block of its own: reading past the end is found.
  const std::vector<char> prefix(text.begin(), text.begin() + pick(text, text.size()));
  prefixTree.FromJSON(prefix.data(), static_cast<unsigned>(prefix.size()));
  const std::string member = "\"\":" + std::string(text.substr(0, static_cast<unsigned>(length)));
  if (length < 0) {
    const std::string_view before = text.substr(0, error.position.offset);  // throws beyond the end
    const auto lines = std::count(before.begin(), before.end(), '\n');
    require(error.position.line == static_cast<unsigned>(lines) + 1, "lines are counted");
    require(object.FromJSON("{\"a\":0,\"a\":0," + member) < 0 && same(object[""], tree),
            "what a failure leaves is the same in a member that is added");
    return;
  }
  // A name that is repeated adds to what it has built, as a text adds to what its target holds.
  readJson(text.data(), sizeOf(text), prefixTree);
  other.Free();
  const bool isAdded = readJson(text.data(), sizeOf(text), other) >= 0 &&
                       readJson(text.data(), sizeOf(text), other) >= 0;
  if (isAdded) other.Compact();
  require((object.FromJSON("{" + member + "," + member + "}") >= 0) == isAdded &&
              same(object[""], other),
          "texts and targets are added to in one way");
  const Variant again = requireJsonReadsBack(tree);
  require(!isExpressible(tree) || same(again, tree), "JSON text stands for the tree");
}

}  // namespace vexo::fuzz

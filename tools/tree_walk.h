// A walk over every value of a tree, in the order of its text, without recursion.
#ifndef VEXO_TOOLS_TREE_WALK_H
#define VEXO_TOOLS_TREE_WALK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vexo_variant/variant.h"

namespace tool {

/// Starts at the root. `next` goes to the value that follows the current one; the members of the
/// current value are visited only after `enter`. The tree must not change meanwhile.
class TreeWalk {
 public:
  explicit TreeWalk(const vexo::variant::Variant& root) : current_(&root) {}

  const vexo::variant::Variant& current() const { return *current_; }
  /// The integer key of the current value in its map; null for a string key and for the root.
  const std::int64_t* integerKey() const;
  /// How many maps the current value lies in.
  std::size_t depth() const { return levels_.size(); }
  /// The key chain of the current value, shortened when it is very long; "." for the root.
  std::string path() const;

  /// Makes the members of the current value, a map, come next.
  void enter();
  /// False when there is no further value.
  bool next();

 private:
  struct Level {
    const vexo::variant::VariantMap* map;
    vexo::variant::NumericMembers::const_iterator nextInteger;
    vexo::variant::StringMembers::const_iterator nextString;
    const std::int64_t* integerKey = nullptr;  // of the member that the walk is at or below
    const std::string* stringKey = nullptr;
  };

  static std::string component(const Level& level);
  static const vexo::variant::Variant* advance(Level& level);

  const vexo::variant::Variant* current_;
  std::vector<Level> levels_;
};

}  // namespace tool

#endif

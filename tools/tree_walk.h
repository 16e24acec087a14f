// A walk over every value of a tree, in the order of its text, without recursion.
#ifndef VEXO_TOOLS_TREE_WALK_H
#define VEXO_TOOLS_TREE_WALK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vexo_variant/variant.h"

namespace tool {

/// The key of a member in its map; one of the two is set.
struct MemberKey {
  const std::int64_t* integer = nullptr;
  const std::string* string = nullptr;
};

/// Appends a component to a key chain; of a string key at most `limit` bytes.
void appendComponent(std::string& chain, const MemberKey& key, std::size_t limit);

/// The key chain to the value that the keys of `levels` lead to, outermost first; "." when there
/// are none. It ends in "/..." behind the component with which it grows longer than `limit` bytes,
/// so that a chain costs no more in a deep tree than in a flat one.
template <class Levels>
std::string keyChain(const Levels& levels, std::size_t limit) {
  std::string chain;
  for (const auto& level : levels) {
    if (chain.size() > limit) return chain + "/...";
    if (&level != &levels.front()) chain += '/';
    appendComponent(chain, level.key, limit);
  }
  return levels.empty() ? "." : chain;
}

/// Starts at the root. `next` goes to the value that follows the current one; the members of the
/// current value are visited only after `enter`. The tree must not change meanwhile.
class TreeWalk {
 public:
  explicit TreeWalk(const vexo::variant::Variant& root) : current_(&root) {}

  const vexo::variant::Variant& current() const { return *current_; }
  /// The key of the current value in its map; none for the root.
  MemberKey key() const { return levels_.empty() ? MemberKey() : levels_.back().key; }
  /// The map that the current value is a member of; null for the root.
  const vexo::variant::Variant* parent() const {
    return levels_.empty() ? nullptr : levels_.back().parent;
  }
  /// How many maps the current value lies in.
  std::size_t depth() const { return levels_.size(); }
  /// The key chain of the current value, shortened when it is long.
  std::string path() const;

  /// Makes the members of the current value, a map, come next.
  void enter();
  /// False when there is no further value.
  bool next();

 private:
  struct Level {
    const vexo::variant::Variant* parent;
    vexo::variant::NumericMembers::const_iterator nextInteger;
    vexo::variant::StringMembers::const_iterator nextString;
    MemberKey key = {};  // of the member that the walk is at or below
  };

  static const vexo::variant::Variant* advance(Level& level);

  const vexo::variant::Variant* current_;
  std::vector<Level> levels_;
};

}  // namespace tool

#endif

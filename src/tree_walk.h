// The one walk over a tree that everything but the readers and the release is built on.
#ifndef VEXO_VARIANT_SRC_TREE_WALK_H
#define VEXO_VARIANT_SRC_TREE_WALK_H

#include <cstdint>
#include <string>
#include <type_traits>

#include "pod_stack.h"
#include "variant_access.h"

namespace vexo::variant {

/// What a visitor of a tree of `Value` (Variant or const Variant) may do; a visitor derives from
/// this and hides what it needs. Every hook but `leave` returns whether to go on.
template <class Value>
struct TreeVisitor {
  using Map = std::conditional_t<std::is_const_v<Value>, const VariantMap, VariantMap>;
  /// What the visitor keeps for every open map.
  struct Mark {};
  /// Whether integer-keyed members are passed over.
  static constexpr bool kStringsOnly = false;

  /// Whether to go into this value, or to treat it as a leaf.
  static bool isInner(const Value& value) { return isMap(value); }
  bool leaf(Value&) { return true; }
  /// The members may still be changed here.
  template <class M>
  bool enter(Value&, Map&, M&) {
    return true;
  }
  /// Before each member.
  template <class M>
  bool numericMember(M&, std::int64_t, Value&) {
    return true;
  }
  /// Between the integer-keyed and the string-keyed members.
  template <class M>
  bool strings(M&, Map&) {
    return true;
  }
  template <class M>
  bool stringMember(M&, const std::string&, Value&) {
    return true;
  }
  template <class M>
  void leave(M&, Map&) {}
};

/// Visits the tree depth-first, at every map the integer-keyed members before the string-keyed
/// ones. Open maps are kept in frames, the first 32 of them on the stack. Returns false as soon as
/// the visitor does.
template <class Value, class Visitor>
bool walkTree(Value& root, Visitor& visitor) {
  using Map = typename Visitor::Map;
  struct Frame {
    Map* map;
    decltype(std::declval<Map&>().numericKeys.begin()) numeric;
    decltype(std::declval<Map&>().stringKeys.begin()) string;
    bool inStrings;
    typename Visitor::Mark mark;
  };
  PodStack<Frame, 32> frames;

  const auto visit = [&](Value& value) {
    if (!visitor.isInner(value)) return visitor.leaf(value);
    Map& map = mapOf(value);
    typename Visitor::Mark mark{};
    if (!visitor.enter(value, map, mark)) return false;
    frames.push({&map, map.numericKeys.begin(), map.stringKeys.begin(), false, mark});
    return true;
  };

  if (!visit(root)) return false;
  while (!frames.empty()) {
    Frame& frame = frames.top();
    if (!frame.inStrings) {
      if (!Visitor::kStringsOnly && frame.numeric != frame.map->numericKeys.end()) {
        auto& member = *frame.numeric++;
        if (!visitor.numericMember(frame.mark, member.first, member.second)) return false;
        if (!visit(member.second)) return false;
        continue;
      }
      frame.inStrings = true;
      if (!visitor.strings(frame.mark, *frame.map)) return false;
    }
    if (frame.string != frame.map->stringKeys.end()) {
      auto& member = *frame.string++;
      if (!visitor.stringMember(frame.mark, member.first, member.second)) return false;
      if (!visit(member.second)) return false;
      continue;
    }
    visitor.leave(frame.mark, *frame.map);
    frames.pop();
  }
  return true;
}

}  // namespace vexo::variant

#endif

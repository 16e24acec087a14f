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
/// this and hides what it needs. Every hook returns whether to go on.
template <class Value>
struct TreeVisitor {
  using Map = std::conditional_t<std::is_const_v<Value>, const VariantMap, VariantMap>;
  /// What the visitor keeps for every open map.
  struct Mark {};
  /// Whether integer-keyed members are passed over.
  static constexpr bool kStringsOnly = false;
  /// Whether string-keyed members come before integer-keyed ones.
  static constexpr bool kStringsFirst = false;

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
  /// Before the string-keyed members.
  template <class M>
  bool strings(M&, Map&) {
    return true;
  }
  template <class M>
  bool stringMember(M&, const std::string&, Value&) {
    return true;
  }
  template <class M>
  bool leave(M&, Map&) {
    return true;
  }
};

/// Asks the memory for the record of a member that will be visited soon: the records of neighbours
/// lie anywhere, and waiting for one after the other would take most of the time of a large walk.
template <class Member>
void lookAhead(const Member* next, const Member* end) {
  constexpr std::ptrdiff_t kDistance = 2;
  if (end - next <= kDistance) return;
  const Variant& value = next[kDistance].second;
  if (isHeapType(typeOf(value))) __builtin_prefetch(payloadOf(value).string);
}

/// Visits the tree depth-first, at every map the integer-keyed members before the string-keyed
/// ones unless the visitor wants it otherwise. Open maps are kept in frames, the first 32 of them
/// on the stack. Returns false as soon as the visitor does.
template <class Value, class Visitor>
bool walkTree(Value& root, Visitor& visitor) {
  using Map = typename Visitor::Map;
  using Numeric = decltype(std::declval<Map&>().numericKeys.firstRun());
  using String = decltype(std::declval<Map&>().stringKeys.firstRun());
  struct Frame {
    Map* map;
    Numeric numeric;  // what is left of the run that is being visited
    String string;
    bool inStrings;
    typename Visitor::Mark mark;
  };
  enum class Result { kDone, kOpened, kStopped };
  PodStack<Frame, 32> frames;

  const auto open = [&](Value& value) {
    Map& map = mapOf(value);
    typename Visitor::Mark mark{};
    if (!visitor.enter(value, map, mark)) return Result::kStopped;
    frames.push({&map, map.numericKeys.firstRun(), map.stringKeys.firstRun(), false, mark});
    return Result::kOpened;
  };
  const auto visit = [&](Value& value) {
    if (visitor.isInner(value)) return open(value);
    return visitor.leaf(value) ? Result::kDone : Result::kStopped;
  };
  const auto announce = [&](Frame& frame, const auto& key, Value& value) {
    if constexpr (std::is_same_v<std::decay_t<decltype(key)>, std::string>) {
      return visitor.stringMember(frame.mark, key, value);
    } else {
      return visitor.numericMember(frame.mark, key, value);
    }
  };
  // Goes on to the next map among the members, which becomes the innermost frame.
  const auto visitUpToMap = [&](Frame& frame, auto& run, auto& members) {
    while (run.end != nullptr) {
      while (run.begin != run.end) {
        auto& member = *run.begin++;
        lookAhead(run.begin, run.end);
        if (!announce(frame, member.first, member.second)) return Result::kStopped;
        const Result result = visit(member.second);
        if (result != Result::kDone) return result;
      }
      run = members.runAfter(run);
    }
    return Result::kDone;
  };
  const auto visitNumeric = [&](Frame& frame) {
    if (Visitor::kStringsOnly) return Result::kDone;
    return visitUpToMap(frame, frame.numeric, frame.map->numericKeys);
  };
  const auto visitStrings = [&](Frame& frame) {
    if (!frame.inStrings && !visitor.strings(frame.mark, *frame.map)) return Result::kStopped;
    frame.inStrings = true;
    return visitUpToMap(frame, frame.string, frame.map->stringKeys);
  };
  const auto visitMembers = [&](Frame& frame) {
    const Result first = Visitor::kStringsFirst ? visitStrings(frame) : visitNumeric(frame);
    if (first != Result::kDone) return first;
    return Visitor::kStringsFirst ? visitNumeric(frame) : visitStrings(frame);
  };

  Result result = visit(root);
  while (result != Result::kStopped && !frames.empty()) {
    result = visitMembers(frames.top());
    if (result != Result::kDone) continue;
    if (!visitor.leave(frames.top().mark, *frames.top().map)) return false;
    frames.pop();
  }
  return result != Result::kStopped;
}

}  // namespace vexo::variant

#endif

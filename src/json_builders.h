// What becomes of the values that a JsonParser finds: two ways to the same tree.
#ifndef VEXO_VARIANT_SRC_JSON_BUILDERS_H
#define VEXO_VARIANT_SRC_JSON_BUILDERS_H

#include <string_view>

#include "compaction.h"
#include "pod_stack.h"
#include "tree_gatherer.h"
#include "variant_access.h"

namespace vexo::variant {

/// Adds each value to the tree as it comes. This defines what a text means: how repeated names meet
/// what stands there already, and what is left of a tree after a failure.
class DirectJsonBuilder {
 public:
  explicit DirectJsonBuilder(Variant& target) : target_(&target) {}

  std::size_t depth() const { return open_.size(); }
  bool inObject() { return open_.top().isObject; }

  void openArray() { open_.push({target_, false}); }
  void openObject() { open_.push({target_, true}); }
  /// An empty container replaces anything but a map.
  bool close();
  bool element();
  void name(std::string_view text, bool lasting);

  void null() {}
  void boolean(bool value) { *target_ = value; }
  void number(const Held& value) { replace(*target_, value); }
  void text(std::string_view text);

 private:
  struct Container {
    Variant* value;
    bool isObject;
  };

  Variant* target_;  // where the next value goes
  PodStack<Container, 32> open_;
};

/// The fast way. Gives up when a name is repeated within an object: then, and when a text does not
/// parse, the work is done again by a DirectJsonBuilder.
class GatheringJsonBuilder {
 public:
  explicit GatheringJsonBuilder(bool compact) : compact_(compact) {}

  std::size_t depth() const { return tree_.depth(); }
  bool inObject() { return tree_.inObject(); }

  void openArray() { tree_.openArray(); }
  void openObject() { tree_.openObject(); }
  bool close() { return tree_.close(); }
  bool element() { return true; }
  void name(std::string_view text, bool lasting);

  void null() { tree_.add(Held{}); }
  void boolean(bool value) { tree_.add(hold(value)); }
  void number(const Held& value) { tree_.add(compact_ ? compacted(value) : value); }
  void text(std::string_view text);

  /// The finished value.
  Held take() { return tree_.take(); }

 private:
  const bool compact_;
  TreeGatherer tree_{TreeGatherer::IntegersMake::kObjects};
};

}  // namespace vexo::variant

#endif

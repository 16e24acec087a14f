// Reads JSON text into a value that may hold something already.
#ifndef VEXO_VARIANT_SRC_JSON_READER_H
#define VEXO_VARIANT_SRC_JSON_READER_H

#include <cstddef>
#include <optional>

#include "json_cursor.h"
#include "pod_stack.h"
#include "tree_gatherer.h"
#include "variant_access.h"

namespace vexo::variant {

/// Most values are new, and are *gathered*: a container is built at once when it ends, which is
/// fast. Where a map stands already, members are *added* to it as they come. A scalar replaces what
/// is there and null leaves it; an array appends to a map and an object merges into it, and both
/// replace anything else.
///
/// A repeated name adds to what the same text has built. The end of the object shows it, too late:
/// what it means depends on all that stands around the object. So the reader goes back to where
/// gathering began, and up to the end of that object it adds every member as it comes. It does the
/// same for a text that fails, because a failure leaves all that was built before it. No part of a
/// text is gathered twice.
class JsonReader {
 public:
  /// Reads at the cursor, which tells how far the reading came, or where it failed and why.
  JsonReader(JsonCursor& cursor, Variant& target) : cursor_(cursor), target_(target) {}

  /// Reads one value and the gap in front of it.
  bool readValue();
  /// Reads a value and the gaps around it into a target that is null. The result is compact, but
  /// not what a failure leaves.
  bool readText();

 private:
  enum class Next { kValue, kAfterValue, kItem, kDone, kStopped };

  /// An open container that is added to.
  struct Container {
    Variant* value;  // becomes a map with the first member
    bool isObject;
  };

  Next step(Next next);
  bool opensContainer() const { return cursor_.at('{') || cursor_.at('['); }
  bool isAddedTo() const;
  Next open();
  Next gather();
  Next close();
  Next findPlace();

  JsonCursor& cursor_;
  Variant& target_;
  bool compact_ = false;
  Variant* place_ = &target_;   // where the next value goes
  std::size_t addedUntil_ = 0;  // no container that begins before this position is gathered
  PodStack<Container, 32> open_;
  JsonCursor::Scratch scratch_;
  std::optional<TreeGatherer> tree_;  // of the value that is gathered
};

}  // namespace vexo::variant

#endif

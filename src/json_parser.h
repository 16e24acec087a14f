// The grammar of the JSON dialect that is read.
#ifndef VEXO_VARIANT_SRC_JSON_PARSER_H
#define VEXO_VARIANT_SRC_JSON_PARSER_H

#include "json_cursor.h"
#include "tree_gatherer.h"

namespace vexo::variant {

/// Reads one value and the gap in front of it, and leaves the value to `tree`; numbers are stored
/// as small as they can be if `compact`. Returns false when the text is wrong, which the cursor
/// tells then, or when an object repeats a name: what that means depends on what is there already.
bool gatherJson(JsonCursor& cursor, TreeGatherer& tree, bool compact);

}  // namespace vexo::variant

#endif

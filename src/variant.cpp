// The types of variant.h for debuggers. Compilers describe a class with virtual functions only
// where its virtual table is: without debug information here, that of a program alone would not
// tell what a Variant consists of. CMakeLists.txt gives this file debug information in every build,
// and the file has the header's name because GCC then leaves out the types of most other headers.
#include "vexo_variant/variant.h"

namespace vexo::variant {
namespace {

[[gnu::used]] const BaseVariantContainer* described;

}  // namespace
}  // namespace vexo::variant

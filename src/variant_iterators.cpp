// Iterators over the members of a map.
#include "map_or_violation.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_iterators"};

}  // namespace

NumericMembers::iterator Variant::num_begin() {
  return mapOrViolation(*this, kLog, "num_begin").numericKeys.begin();
}
NumericMembers::iterator Variant::num_end() {
  return mapOrViolation(*this, kLog, "num_end").numericKeys.end();
}
NumericMembers::const_iterator Variant::num_begin() const {
  return mapOrViolation(*this, kLog, "num_begin").numericKeys.begin();
}
NumericMembers::const_iterator Variant::num_end() const {
  return mapOrViolation(*this, kLog, "num_end").numericKeys.end();
}
StringMembers::iterator Variant::str_begin() {
  return mapOrViolation(*this, kLog, "str_begin").stringKeys.begin();
}
StringMembers::iterator Variant::str_end() {
  return mapOrViolation(*this, kLog, "str_end").stringKeys.end();
}
StringMembers::const_iterator Variant::str_begin() const {
  return mapOrViolation(*this, kLog, "str_begin").stringKeys.begin();
}
StringMembers::const_iterator Variant::str_end() const {
  return mapOrViolation(*this, kLog, "str_end").stringKeys.end();
}

}  // namespace vexo::variant

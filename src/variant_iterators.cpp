// Iterators over the members of a map.
#include "log_area.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_iterators"};

/// Works for Variant and const Variant.
template <class Value>
auto& mapIn(Value& value, LogSite site) {
  if (!isMap(value)) kLog.violation(site, "Invalid state");
  return mapOf(value);
}

}  // namespace

NumericMembers::iterator Variant::num_begin() {
  return mapIn(*this, "num_begin").numericKeys.begin();
}
NumericMembers::iterator Variant::num_end() { return mapIn(*this, "num_end").numericKeys.end(); }
NumericMembers::const_iterator Variant::num_begin() const {
  return mapIn(*this, "num_begin").numericKeys.begin();
}
NumericMembers::const_iterator Variant::num_end() const {
  return mapIn(*this, "num_end").numericKeys.end();
}
StringMembers::iterator Variant::str_begin() {
  return mapIn(*this, "str_begin").stringKeys.begin();
}
StringMembers::iterator Variant::str_end() { return mapIn(*this, "str_end").stringKeys.end(); }
StringMembers::const_iterator Variant::str_begin() const {
  return mapIn(*this, "str_begin").stringKeys.begin();
}
StringMembers::const_iterator Variant::str_end() const {
  return mapIn(*this, "str_end").stringKeys.end();
}

}  // namespace vexo::variant

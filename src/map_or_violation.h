// What the operations that need a map have in common.
#ifndef VEXO_VARIANT_SRC_MAP_OR_VIOLATION_H
#define VEXO_VARIANT_SRC_MAP_OR_VIOLATION_H

#include "log_area.h"
#include "variant_access.h"

namespace vexo::variant {

/// The record of a value (Variant or const Variant) that must be a map.
template <class Value>
auto& mapOrViolation(Value& value, LogArea log, LogSite site) {
  if (!isMap(value)) log.violation(site, "Invalid state");
  return mapOf(value);
}

}  // namespace vexo::variant

#endif

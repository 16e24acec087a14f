// Validators for configuration maps.
#include <string>

#include "log_area.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_validators"};

}  // namespace

Variant& Variant::PreValidate(const char* key, VariantType type, bool caseSensitive,
                              const Variant& defaultValue) {
  if (key == nullptr) return (*this)[key];  // does not return
  const std::string name = key;             // the key may be a part of what is about to change
  const Variant* found = GetKeyChain(type, name, true);
  if (found == nullptr && !caseSensitive) found = GetKeyChain(type, name, false);
  Variant value = found == nullptr ? defaultValue : *found;
  ensureMap(*this);
  if (!caseSensitive) RemoveValue(name.c_str(), false);
  return (*this)[name] = std::move(value);
}

Variant& Variant::ValidateNumeric(const char* key, double minValue, double maxValue,
                                  double defaultValue, bool caseSensitive) {
  Variant& member = PreValidate(key, V_NUMERIC, caseSensitive, defaultValue);
  if (member.operator double() < minValue) member = minValue;
  if (member.operator double() > maxValue) member = maxValue;
  return *this;
}

Variant& Variant::ValidateBool(const char* key, bool defaultValue, bool caseSensitive) {
  PreValidate(key, V_BOOL, caseSensitive, defaultValue);
  return *this;
}

Variant& Variant::ValidateMap(const char* key, bool caseSensitive) {
  Variant emptyMap;
  emptyMap.IsArray(false);
  PreValidate(key, V_MAP, caseSensitive, emptyMap);
  return *this;
}

Variant& Variant::ValidateSets(const char* key, const Variant&, const Variant& defaultValue,
                               bool caseSensitive) {
  Variant value = defaultValue;  // it may be a member that is about to be removed
  Variant& member = PreValidate(key, V_ANY, caseSensitive, value);
  kLog.log(LogArea::kNotice, "ValidateSets", "Function %s not yet implemented", "ValidateSets");
  member = std::move(value);
  return *this;
}

}  // namespace vexo::variant

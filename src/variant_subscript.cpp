// Subscripts.
#include <cstdlib>
#include <limits>
#include <memory>

#include "log_area.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_subscript"};
constexpr const char* kName = "operator[]";

/// A fresh map takes the value's place only when its first member stands, because the key may be a
/// part of what the value held.
template <class Members, class Key>
Variant& replaceByMap(Variant& value, Members VariantMap::*members, const Key& key,
                      bool isArray = false) {
  auto map = std::make_unique<VariantMap>();
  map->isArray = isArray;
  Variant& member = (map.get()->*members).append(key);
  replace(value, holdRecord(V_MAP, map.release()));
  return member;
}

std::string_view textOrViolation(const char* key) {
  if (key == nullptr) kLog.violation(kName, "Invalid subscript operator parameter");
  return key;
}

const VariantMap& mapToSearch(const Variant& value) {
  if (!isMap(value)) kLog.violation(kName, "Invalid variant type: 0x%04x", typeOf(value));
  return mapOf(value);
}

}  // namespace

VariantMap& ensureMap(Variant& value) {
  if (!isMap(value)) replace(value, holdRecord(V_MAP, new VariantMap));
  return mapOf(value);
}

Variant& memberAt(Variant& value, std::int64_t key) {
  if (!isMap(value)) return replaceByMap(value, &VariantMap::numericKeys, key);
  return mapOf(value).numericKeys.try_emplace(key).first->second;
}

Variant& memberAt(Variant& value, std::string_view key) {
  if (!isMap(value)) return replaceByMap(value, &VariantMap::stringKeys, key);
  return mapOf(value).stringKeys.try_emplace(key).first->second;
}

Variant& Variant::memberNamed(std::string_view key) { return memberAt(*this, key); }

const Variant& Variant::memberNamed(std::string_view key) const {
  const StringMembers& members = mapToSearch(*this).stringKeys;
  const auto found = members.find(key);
  if (found == members.end()) {
    kLog.violation(kName, "Key not found in const variant: `%s`", std::string(key).c_str());
  }
  return found->second;
}

Variant* appendMember(Variant& value) {
  if (!isMap(value)) return &replaceByMap(value, &VariantMap::numericKeys, std::int64_t{0}, true);
  VariantMap& map = mapOf(value);
  if (map.numericKeys.empty()) {
    Variant& member = map.numericKeys.append(std::int64_t{0});
    if (map.stringKeys.empty()) map.isArray = 1;
    return &member;
  }
  const std::int64_t last = map.numericKeys.rbegin()->first;
  if (last == std::numeric_limits<std::int64_t>::max()) return nullptr;
  return &map.numericKeys.append(last + 1);
}

Variant& Variant::operator[](std::int64_t key) {
  if (key != -1) return memberAt(*this, key);
  Variant* const member = appendMember(*this);
  if (member == nullptr) kLog.violation(kName, "Invalid state");
  return *member;
}

Variant& Variant::operator[](const std::string& key) { return memberNamed(key); }

Variant& Variant::operator[](const char* key) { return memberAt(*this, textOrViolation(key)); }

Variant& Variant::operator[](const Variant& key) {
  if (key.type_ == V_STRING) return (*this)[*key.payload_.string];
  if (!isSignedInteger(key.type_)) kLog.violation(kName, "Invalid indexer type");
  return (*this)[key.operator std::int64_t()];
}

const Variant& Variant::operator[](std::int64_t key) const {
  const NumericMembers& members = mapToSearch(*this).numericKeys;
  const auto found = members.find(key);
  if (found == members.end()) {
    kLog.violation(kName, "Key not found in const variant: 0x%lld", static_cast<long long>(key));
  }
  return found->second;
}

const Variant& Variant::operator[](const std::string& key) const { return memberNamed(key); }

const Variant& Variant::operator[](const char* key) const {
  return memberNamed(textOrViolation(key));
}

const Variant& Variant::operator[](const Variant& key) const {
  if (key.type_ == V_STRING) return (*this)[*key.payload_.string];
  if (isNumericType(key.type_)) return (*this)[key.operator std::int64_t()];
  kLog.violation(kName, "Invalid subscript operator parameter: %s", key.ToString().c_str());
}

}  // namespace vexo::variant

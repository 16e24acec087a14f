// Lookups, removal, counts, compaction, stringification, key chains.
#include <cstring>
#include <limits>

#include "ascii.h"
#include "compaction.h"
#include "map_or_violation.h"
#include "number_text.h"
#include "scalar_text.h"
#include "tree_walk.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_misc"};

/// The first member whose key matches but for case, or null; `view` gives the part of a key that
/// counts.
template <class Map, class View>
auto findIgnoringCase(Map& map, std::string_view key, View view)
    -> decltype(&map.stringKeys.begin()->second) {
  for (auto& member : map.stringKeys) {
    if (ascii::equal(view(member.first), key)) return &member.second;
  }
  return nullptr;
}

std::string_view wholeKey(const std::string& key) { return key; }
/// What a C string function sees of a key.
std::string_view keyUpToZero(const std::string& key) { return key.c_str(); }

template <class Match>
void removeIf(StringMembers& members, Match match) {
  for (auto member = members.begin(); member != members.end();) {
    member = match(member->first) ? members.erase(member) : std::next(member);
  }
}

// --- Compaction ----------------------------------------------------------------------------------

struct Compactor : TreeVisitor<Variant> {
  bool leaf(Variant& value) {
    if (isNumericType(typeOf(value))) put(value, compacted({typeOf(value), payloadOf(value)}));
    return true;
  }
};

// --- Stringification -----------------------------------------------------------------------------

/// Makes buffers into what a copy of them would be: the owner of their bytes, even of none.
struct BufferOwner : TreeVisitor<Variant> {
  bool leaf(Variant& value) {
    if (typeOf(value) != V_BINARY) return true;
    const VariantBuffer& buffer = *payloadOf(value).buffer;
    if (buffer.external != 0 || buffer.data == nullptr) value = Variant(std::as_const(value));
    return true;
  }
};

/// Moves the integer-keyed members to string keys. What they hold shall be as if it was copied;
/// unless all of it is text by then, see to its buffers first.
void stringifyKeysOf(VariantMap& map) {
  IntegerBuffer buffer;
  for (auto& member : map.numericKeys) {
    Variant& target = map.stringKeys.try_emplace(integerText(member.first, buffer)).first->second;
    target = std::move(member.second);
  }
  map.numericKeys.clear();
  map.isArray = 0;
}

class Stringifier : public TreeVisitor<Variant> {
 public:
  static constexpr bool kStringsOnly = true;

  explicit Stringifier(bool stringifyKeys) : stringifyKeys_(stringifyKeys) {}

  bool enter(Variant&, VariantMap& map, Mark&) {
    if (stringifyKeys_) stringifyKeysOf(map);
    return true;
  }
  bool leaf(Variant& value) {
    if (typeOf(value) == V_STRING || findType(typeOf(value)) == nullptr) return true;
    TextSink sink;
    if (!appendScalarText(value, sink)) kLog.violation("Stringify", "base64 operation failed");
    std::string text;
    sink.appendTo(text);
    replace(value, holdRecord(new std::string(std::move(text))));
    return true;
  }

 private:
  bool stringifyKeys_;
};

// --- Key chains ----------------------------------------------------------------------------------

/// The key of a component of the form "[5]", which must be a number up to the bracket at its end.
bool parseBracketed(std::string_view component, std::int64_t& key) {
  const IntegerPrefix number = parseIntegerPrefix(component.substr(1, component.size() - 2), 0);
  key = clampSigned(number);
  return number.end == component.data() + component.size() - 1;
}

bool isBracketed(std::string_view component) {
  return component.size() > 1 && component.front() == '[' && component.back() == ']';
}

/// The member that `component` names; a name that is not in brackets is compared as `text`.
template <class Value>
Value* findComponent(Value& value, std::string_view component, std::string_view text,
                     bool caseSensitive) {
  if (!isMap(value) || component.empty()) return nullptr;
  auto& map = mapOf(value);
  if (isBracketed(component)) {
    std::int64_t key = 0;
    if (!parseBracketed(component, key)) return nullptr;
    const auto found = map.numericKeys.find(key);
    return found == map.numericKeys.end() ? nullptr : &found->second;
  }
  if (!caseSensitive) return findIgnoringCase(map, text, keyUpToZero);
  const auto found = map.stringKeys.find(text);
  return found == map.stringKeys.end() ? nullptr : &found->second;
}

bool passesFilter(std::uint32_t type, VariantType filter) {
  return filter == V_ANY || type == filter || (filter == V_NUMERIC && isNumericType(type));
}

template <class Value>
Value* followChain(Value& root, VariantType filter, const char* path, bool caseSensitive) {
  if (path == nullptr || !isMap(root)) return nullptr;
  std::string_view rest = path;
  if (rest.size() > 1 && rest.back() == '/') rest.remove_suffix(1);
  Value* value = &root;
  for (bool more = true; more && value != nullptr;) {
    const std::size_t slash = rest.find('/');
    const std::string_view component = rest.substr(0, slash);
    value = findComponent(*value, component, component, caseSensitive);
    more = slash != std::string_view::npos;
    if (more) rest.remove_prefix(slash + 1);
  }
  return value != nullptr && passesFilter(typeOf(*value), filter) ? value : nullptr;
}

template <class Value>
Value* followComponent(Value& value, const char* name, unsigned int length, bool caseSensitive) {
  if (name == nullptr || length == 0) return nullptr;
  return findComponent(value, std::string_view(name, length), name, caseSensitive);
}

}  // namespace

Variant& Variant::Reset() {
  Free();
  return *this;
}

VariantBuffer* Variant::AllocateBuffer(std::uint32_t size, bool zeroFill) {
  Free();
  auto buffer = newBuffer(size);
  if (zeroFill && size > 0) std::memset(buffer->data, 0, size);
  put(*this, holdRecord(buffer.release()));
  return payload_.buffer;
}

const char* Variant::VariantTypeToString(VariantType type) noexcept {
  if (type == V_NUMERIC) return "NUMERIC";
  if (type == V_ANY) return "ANY";
  const TypeInfo* info = findType(type);
  return info == nullptr ? "unknown" : info->name;
}

bool Variant::IsArray() const noexcept { return isMap(*this) && mapOf(*this).isArray != 0; }

void Variant::IsArray(bool isArray) {
  if (type_ == V_NULL) put(*this, holdRecord(V_MAP, new VariantMap));
  mapOrViolation(*this, kLog, "IsArray").isArray = isArray;
}

Variant& Variant::GetValue(const std::string& key, bool caseSensitive) {
  VariantMap& map = mapOrViolation(*this, kLog, "GetValue");
  Variant* const found = caseSensitive ? nullptr : findIgnoringCase(map, key, wholeKey);
  return found == nullptr ? (*this)[key] : *found;
}

Variant& Variant::GetValue(const char* key, bool caseSensitive) {
  VariantMap& map = mapOrViolation(*this, kLog, "GetValue");
  const bool search = !caseSensitive && key != nullptr;
  Variant* const found = search ? findIgnoringCase(map, key, keyUpToZero) : nullptr;
  return found == nullptr ? (*this)[key] : *found;
}

Variant& Variant::GetValue(std::int64_t key) {
  mapOrViolation(*this, kLog, "GetValue");
  return (*this)[key];
}

bool Variant::HasKey(std::int64_t key) const noexcept {
  return isMap(*this) && mapOf(*this).numericKeys.contains(key);
}

bool Variant::HasKey(const std::string& key, bool caseSensitive) const noexcept {
  if (!isMap(*this)) return false;
  if (isBracketed(key)) {
    // The number ends at the first closing bracket, which need not be the last byte.
    const std::string_view digits = std::string_view(key).substr(1);
    const IntegerPrefix number = parseIntegerPrefix(digits, 0);
    return *number.end == ']' && HasKey(clampSigned(number));
  }
  const VariantMap& map = mapOf(*this);
  return caseSensitive ? map.stringKeys.contains(key)
                       : findIgnoringCase(map, key, wholeKey) != nullptr;
}

bool Variant::HasStrArrayMember(const std::string& value, bool caseSensitive) const {
  if (!IsArray()) return false;
  for (const auto& member : mapOf(*this).numericKeys) {
    const std::string& text = member.second;
    if (ascii::matches(text, value, caseSensitive)) return true;
  }
  return false;
}

std::size_t Variant::StringKeysCount() const {
  return mapOrViolation(*this, kLog, "StringKeysCount").stringKeys.size();
}

std::size_t Variant::NumericKeysCount() const {
  return mapOrViolation(*this, kLog, "NumericKeysCount").numericKeys.size();
}

std::size_t Variant::KeysCount() const {
  const std::size_t strings = StringKeysCount();
  return strings + NumericKeysCount();
}

Variant& Variant::ResetNumericKeys() {
  mapOrViolation(*this, kLog, "ResetNumericKeys").numericKeys.clear();
  return *this;
}

Variant& Variant::ResetStringKeys() {
  mapOrViolation(*this, kLog, "ResetStringKeys").stringKeys.clear();
  return *this;
}

Variant& Variant::ResetKeys() { return ResetStringKeys().ResetNumericKeys(); }

Variant& Variant::RemoveValue(std::int64_t key) {
  mapOrViolation(*this, kLog, "RemoveValue").numericKeys.erase(key);
  return *this;
}

Variant& Variant::RemoveValue(const std::string& key, bool caseSensitive) {
  StringMembers& members = mapOrViolation(*this, kLog, "RemoveValue").stringKeys;
  if (caseSensitive) {
    members.erase(key);
  } else {
    removeIf(members, [text = key](const std::string& name) { return ascii::equal(name, text); });
  }
  return *this;
}

Variant& Variant::RemoveValue(const char* key, bool caseSensitive) {
  StringMembers& members = mapOrViolation(*this, kLog, "RemoveValue").stringKeys;
  if (key == nullptr) return *this;
  if (caseSensitive) {
    members.erase(key);
  } else {
    removeIf(members, [text = std::string(key)](const std::string& name) {
      return ascii::equal(keyUpToZero(name), text);
    });
  }
  return *this;
}

void Variant::Compact() {
  Compactor compactor;
  walkTree(*this, compactor);
}

Variant& Variant::Stringify(bool stringifyKeys, bool stringifyValues) {
  if (stringifyValues) {
    Stringifier stringifier(stringifyKeys);
    walkTree(*this, stringifier);
  } else if (stringifyKeys && isMap(*this)) {
    VariantMap& map = mapOf(*this);
    BufferOwner owner;
    for (auto& member : map.numericKeys) walkTree(member.second, owner);
    stringifyKeysOf(map);
  }
  return *this;
}

Variant& Variant::Stringify(Variant& target, bool stringifyKeys, bool stringifyValues) const {
  target = *this;
  return target.Stringify(stringifyKeys, stringifyValues);
}

std::string Variant::ToString() const {
  std::string text;
  ToJSON(std::string(), text, true, true, 0);
  return text;
}

const Variant* Variant::GetPathComponent(const char* name, unsigned int length,
                                         bool caseSensitive) const {
  return followComponent(*this, name, length, caseSensitive);
}
Variant* Variant::GetPathComponent(const char* name, unsigned int length, bool caseSensitive) {
  return followComponent(*this, name, length, caseSensitive);
}
const Variant* Variant::GetKeyChain(VariantType type, const char* path, bool caseSensitive) const {
  return followChain(*this, type, path, caseSensitive);
}
Variant* Variant::GetKeyChain(VariantType type, const char* path, bool caseSensitive) {
  return followChain(*this, type, path, caseSensitive);
}
const Variant* Variant::GetKeyChain(VariantType type, const std::string& path,
                                    bool caseSensitive) const {
  return followChain(*this, type, path.c_str(), caseSensitive);
}
Variant* Variant::GetKeyChain(VariantType type, const std::string& path, bool caseSensitive) {
  return followChain(*this, type, path.c_str(), caseSensitive);
}

}  // namespace vexo::variant

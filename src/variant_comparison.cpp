// Equality.
#include <cstring>

#include "tree_walk.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

bool equalBytes(const VariantBuffer& a, const VariantBuffer& b) {
  if (a.size != b.size) return false;
  return a.data == b.data || a.size == 0 || std::memcmp(a.data, b.data, a.size) == 0;
}

bool equalTimes(const timeval& a, const timeval& b) {
  return a.tv_sec == b.tv_sec && a.tv_usec == b.tv_usec;
}

/// Compares anything but maps; numbers in the domain of the left value.
bool equalLeaves(const Variant& left, const Variant& right) {
  const std::uint32_t type = typeOf(left);
  if (type == typeOf(right) && !isHeapType(type)) {
    if (type == V_DOUBLE) return load<double>(payloadOf(left)) == load<double>(payloadOf(right));
    if (!readsAsInteger(type)) return false;
    // The bytes behind a narrow number do not count, but mostly they are equal as well.
    return load<std::uint64_t>(payloadOf(left)) == load<std::uint64_t>(payloadOf(right)) ||
           integerBits(left) == integerBits(right);
  }
  if (isInteger(type) && isInteger(typeOf(right))) return integerBits(left) == integerBits(right);
  if (type == V_DOUBLE) return right == load<double>(payloadOf(left));
  if (isSignedInteger(type)) return right == static_cast<std::int64_t>(integerBits(left));
  if (isUnsignedInteger(type)) return right == integerBits(left);
  if (type != typeOf(right)) return false;
  switch (type) {
    case V_TIMESTAMP:
      return equalTimes(*payloadOf(left).timestamp, *payloadOf(right).timestamp);
    case V_STRING:
      return *payloadOf(left).string == *payloadOf(right).string;
    case V_BINARY:
      return equalBytes(*payloadOf(left).buffer, *payloadOf(right).buffer);
    default:
      return false;
  }
}

/// Walks the left tree and follows it in the right one. Two maps of the same size have the same
/// keys exactly when they match pairwise in key order, so no key needs looking up.
class Comparer : public TreeVisitor<const Variant> {
 public:
  struct Mark {
    const VariantMap* other;
    NumericMembers::ConstRun numeric;  // what is left of the run that is being followed
    StringMembers::ConstRun string;
  };

  explicit Comparer(const Variant& right) : right_(&right) {}

  bool leaf(const Variant& left) { return equalLeaves(left, *right_); }
  bool enter(const Variant& left, const VariantMap& map, Mark& mark) {
    if (typeOf(left) != typeOf(*right_)) return false;
    const VariantMap& other = mapOf(*right_);
    if ((map.isArray != 0) != (other.isArray != 0)) return false;
    if (typeOf(left) == V_TYPED_MAP && map.typeName != other.typeName) return false;
    if (map.numericKeys.size() != other.numericKeys.size()) return false;
    if (map.stringKeys.size() != other.stringKeys.size()) return false;
    mark = {&other, other.numericKeys.firstRun(), other.stringKeys.firstRun()};
    return true;
  }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    return follow(mark.other->numericKeys, mark.numeric, key);
  }
  bool stringMember(Mark& mark, const std::string& key, const Variant&) {
    return follow(mark.other->stringKeys, mark.string, key);
  }

 private:
  template <class Members, class Key>
  bool follow(const Members& members, typename Members::ConstRun& run, const Key& key) {
    if (run.begin == run.end) run = members.runAfter(run);
    right_ = &run.begin->second;
    return run.begin++->first == key;
  }

  const Variant* right_;
};

}  // namespace

bool Variant::operator==(bool value) const noexcept {
  return type_ == V_BOOL && (integerBits(*this) != 0) == value;
}
bool Variant::operator==(std::int64_t value) const noexcept {
  return isNumericType(type_) && findType(type_) != nullptr &&
         this->operator std::int64_t() == value;
}
bool Variant::operator==(std::uint64_t value) const noexcept {
  return isNumericType(type_) && findType(type_) != nullptr &&
         this->operator std::uint64_t() == value;
}
bool Variant::operator==(double value) const noexcept {
  return isNumericType(type_) && findType(type_) != nullptr && this->operator double() == value;
}
bool Variant::operator==(const timeval& value) const noexcept {
  return type_ == V_TIMESTAMP && equalTimes(*payload_.timestamp, value);
}
bool Variant::operator==(const char* value) const noexcept {
  if (value == nullptr) return type_ == V_NULL;
  return type_ == V_STRING && *payload_.string == value;
}
bool Variant::operator==(const std::string& value) const noexcept {
  return type_ == V_STRING && *payload_.string == value;
}
bool Variant::operator==(VariantType type) const noexcept { return type_ == type; }
bool Variant::operator==(const Variant& other) const {
  Comparer comparer(other);
  return walkTree(*this, comparer);
}

bool Variant::operator!=(bool value) const noexcept { return !(*this == value); }
bool Variant::operator!=(std::int64_t value) const noexcept { return !(*this == value); }
bool Variant::operator!=(std::uint64_t value) const noexcept { return !(*this == value); }
bool Variant::operator!=(double value) const noexcept { return !(*this == value); }
bool Variant::operator!=(const timeval& value) const noexcept { return !(*this == value); }
bool Variant::operator!=(const char* value) const noexcept { return !(*this == value); }
bool Variant::operator!=(const std::string& value) const noexcept { return !(*this == value); }
bool Variant::operator!=(VariantType type) const noexcept { return !(*this == type); }
bool Variant::operator!=(const Variant& other) const { return !(*this == other); }

}  // namespace vexo::variant

// Lookups and typed reads for trees that somebody else wrote: a missing member, or a value of
// another type, is an answer and not a contract violation. Nothing here creates a member, changes a
// tree or logs.
#ifndef VEXO_VARIANT_LOOKUP_H
#define VEXO_VARIANT_LOOKUP_H

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "vexo_variant/variant.h"

namespace vexo::variant {

/// A path such as "network/ports/[0]", as Variant::GetKeyChain takes it (case-sensitive), where a
/// key is asked for. Only for arguments: it refers to the characters it is made from.
struct KeyChain {
  ///@{
  /// The text must live as long as the chain.
  explicit KeyChain(const char* text) noexcept : path(text) {}
  explicit KeyChain(const std::string& text) noexcept : path(text.c_str()) {}
  ///@}
  const char* path;  ///< zero-terminated; null leads nowhere
};

namespace detail {

template <class T>
inline constexpr bool kIsExactNumber =
    kIsNumber<T> && !kIsCharacter<T> && !std::is_same_v<T, long double>;

template <class T>
using IfReadable =
    std::enable_if_t<kIsExactNumber<T> || kIsOneOf<T, bool, std::string, std::string_view>, int>;

/// What is read where T is the fallback: a C string stands for a `std::string`.
template <class T>
using ReadFor = std::conditional_t<kIsOneOf<T, const char*, char*>, std::string, T>;

/// V is the type of a forwarding reference to a value, which must live on if a view into it is
/// returned.
template <class V, class T>
using IfReadableFrom =
    std::enable_if_t<std::is_base_of_v<Variant, std::remove_reference_t<V>> &&
                         (std::is_lvalue_reference_v<V> || !std::is_same_v<T, std::string_view>),
                     int>;

template <class Key>
inline constexpr bool kIsIntegerKey = std::is_integral_v<Key>&& kIsNumber<Key>;

template <class... Keys>
inline constexpr bool kAreKeys = ((kIsIntegerKey<Keys> || kIsText<Keys> ||
                                   std::is_same_v<Keys, KeyChain>)&&...);

template <class... Keys>
using IfKeys = std::enable_if_t<kAreKeys<Keys...>, int>;

template <class Members>
const Variant* mappedOrNull(const Members& members, typename Members::View key) noexcept {
  const auto found = members.find(key);
  return found == members.end() ? nullptr : &found->second;
}

inline const Variant* memberOf(const VariantMap& map, std::string_view key) noexcept {
  return mappedOrNull(map.stringKeys, key);
}
inline const Variant* memberOf(const VariantMap& map, const char* key) noexcept {
  return key == nullptr ? nullptr : memberOf(map, std::string_view(key));
}
template <class Key, std::enable_if_t<kIsIntegerKey<Key>, int> = 0>
const Variant* memberOf(const VariantMap& map, Key key) noexcept {
  return mappedOrNull(map.numericKeys, static_cast<std::int64_t>(static_cast<Stored<Key>>(key)));
}

template <class Key>
const Variant* memberAt(const Variant* value, const Key& key) noexcept {
  const VariantType type = value != nullptr ? value->operator VariantType() : V_NULL;
  if (type != V_MAP && type != V_TYPED_MAP) return nullptr;
  if constexpr (std::is_same_v<Key, KeyChain>) {
    return value->GetKeyChain(V_ANY, key.path, true);
  } else {
    return memberOf(*value->operator const VariantMap*(), key);
  }
}

/// The number as a T, or nothing where it does not fit, as valueAs() says.
template <class T, class Number>
std::optional<T> fitted(Number number) noexcept {
  if constexpr (std::is_same_v<T, Number>) {
    return number;
  } else if constexpr (std::is_floating_point_v<Number> && std::is_floating_point_v<T>) {
    constexpr Number kMax = std::numeric_limits<T>::max();
    const Number magnitude = number < 0 ? -number : number;
    if (magnitude > kMax && magnitude <= std::numeric_limits<Number>::max()) return std::nullopt;
    return static_cast<T>(number);
  } else if constexpr (std::is_floating_point_v<Number>) {
    constexpr int kDigits = std::numeric_limits<T>::digits;
    constexpr Number kEnd = Number{2} * static_cast<Number>(T{1} << (kDigits - 1));
    constexpr Number kBegin = std::is_signed_v<T> ? -kEnd : Number{0};
    if (!(number >= kBegin && number < kEnd)) return std::nullopt;
    const T whole = static_cast<T>(number);
    if (static_cast<Number>(whole) != number) return std::nullopt;
    return whole;
  } else if constexpr (std::is_floating_point_v<T>) {
    const T rounded = static_cast<T>(number);
    if (fitted<Number>(rounded) != number) return std::nullopt;
    return rounded;
  } else {
    const T wrapped = static_cast<T>(number);
    if (static_cast<Number>(wrapped) != number || (wrapped < T{0}) != (number < Number{0})) {
      return std::nullopt;
    }
    return wrapped;
  }
}

template <class T>
std::optional<T> numberAs(const Variant& value) noexcept {
  switch (value.operator VariantType()) {
    case V_INT8:
    case V_INT16:
    case V_INT32:
    case V_INT64:
      return fitted<T>(value.operator std::int64_t());
    case V_UINT8:
    case V_UINT16:
    case V_UINT32:
    case V_UINT64:
      return fitted<T>(value.operator std::uint64_t());
    case V_DOUBLE:
      return fitted<T>(value.operator double());
    default:
      return std::nullopt;
  }
}

inline std::optional<bool> flagAs(const Variant& value) noexcept {
  if (value == V_BOOL) return value.operator bool();
  const std::optional<int> number = value == V_DOUBLE ? std::nullopt : numberAs<int>(value);
  if (number != 0 && number != 1) return std::nullopt;
  return number == 1;
}

}  // namespace detail

/// The member that the keys lead to, one level down for each; null when there is none, or when a
/// value on the way is not a map. Never creates a member, never logs, allocates nothing;
/// logarithmic for each key. The pointer lives as long as the member.
///
///     if (const Variant* port = find(config, "network", "ports", 0)) ...
///
/// A key is a string (anything that a `std::string_view` can be made of; zero bytes count, and an
/// empty one is a key like any other), an integer of any type, or a KeyChain. Strings and integers
/// mean what they mean to the subscripts, except that -1 is the key -1. A null C string finds
/// nothing.
template <class V, class Key, class... Keys, detail::IfVariant<V> = 0,
          detail::IfKeys<Key, Keys...> = 0>
std::conditional_t<std::is_const_v<V>, const Variant, Variant>* find(V& value, const Key& key,
                                                                     const Keys&... more) noexcept {
  const Variant* member = detail::memberAt(&value, key);
  ((member = detail::memberAt(member, more)), ...);
  return const_cast<std::conditional_t<std::is_const_v<V>, const Variant, Variant>*>(member);
}
/// The member would be gone before the pointer could be used.
template <class V, class... Keys, detail::IfVariant<V> = 0>
void find(const V&&, const Keys&...) = delete;

/// The value as a T, if it is one; nothing otherwise, and for a null pointer.
///
/// - `bool`: a boolean, or an integer that is 0 or 1 (KVP has no other booleans).
/// - Integers: a number of any type that is whole and in the range of T.
/// - `double`: a double, or an integer that a double holds exactly.
/// - `float`: the same, and a double is rounded; one beyond the range of `float` does not fit,
///   infinities and NaN do.
/// - `std::string`, `std::string_view`: a string. The view lives until the value is changed or
///   destroyed; it cannot be taken of a temporary value.
///
/// So nothing wraps, is cut off or is converted from text: a string is never a number, nor is null
/// or a boolean. Character types (but for `signed char` and `unsigned char`, which are 8-bit
/// integers) and `long double` are not read.
template <class T, detail::IfReadable<T> = 0>
std::optional<T> valueAs(const Variant* value) {
  if (value == nullptr) return std::nullopt;
  if constexpr (std::is_same_v<T, bool>) {
    return detail::flagAs(*value);
  } else if constexpr (detail::kIsExactNumber<T>) {
    return detail::numberAs<T>(*value);
  } else {
    if (*value != V_STRING) return std::nullopt;
    return T(value->operator const std::string&());
  }
}
/// The same for a value that is at hand.
template <class T, class V, detail::IfReadable<T> = 0, detail::IfReadableFrom<V, T> = 0>
std::optional<T> valueAs(V&& value) {
  return valueAs<T>(static_cast<const Variant*>(&value));
}

/// The value as valueAs() reads it in the type of the fallback, or the fallback, also for a null
/// pointer. A string literal or C string reads a `std::string` (a null one stands for ""); with a
/// `std::string_view` as fallback nothing is copied. To read another type than that of the
/// fallback, name it: `valueOr<double>(value, 1)`.
///
///     int mtu = valueOr(find(config, "network", "mtu"), 1500);
template <class T, detail::IfReadable<detail::ReadFor<T>> = 0>
detail::ReadFor<T> valueOr(const Variant* value, T fallback) {
  if (auto read = valueAs<detail::ReadFor<T>>(value)) return *std::move(read);
  if constexpr (std::is_pointer_v<T>) {
    return fallback == nullptr ? std::string() : std::string(fallback);
  } else {
    return fallback;
  }
}
/// The same for the member that find() finds under the key:
///
///     int mtu = valueOr(config, KeyChain("network/mtu"), 1500);
///     auto port = valueOr<std::uint16_t>(config, "port", 8080);
template <class T, class V, class Key, detail::IfReadable<detail::ReadFor<T>> = 0,
          detail::IfReadableFrom<V, T> = 0, detail::IfKeys<Key> = 0>
detail::ReadFor<T> valueOr(V&& value, const Key& key, T fallback) {
  return valueOr<T>(variant::find(value, key), std::move(fallback));
}

}  // namespace vexo::variant

#endif

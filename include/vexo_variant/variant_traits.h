// Which C++ types variant.h takes, and as which of the types that a value holds.
#ifndef VEXO_VARIANT_VARIANT_TRAITS_H
#define VEXO_VARIANT_VARIANT_TRAITS_H

#include <sys/time.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace vexo::variant {

class Variant;
enum VariantType : std::uint16_t;

namespace detail {

// --- Numbers -------------------------------------------------------------------------------------

template <class T, class... Ts>
inline constexpr bool kIsOneOf = (std::is_same_v<T, Ts> || ...);

/// Whichever of `long` and `long long` is not `int64_t`: on 32-bit ARM it is as wide as an `int`.
using OtherLong = std::conditional_t<std::is_same_v<std::int64_t, long>, long long, long>;
using OtherUnsignedLong = std::make_unsigned_t<OtherLong>;

template <class T>
inline constexpr bool kIsNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool> &&
                                  (std::is_floating_point_v<T> || sizeof(T) <= 8);

/// The numbers that the documented overloads name.
template <class T>
inline constexpr bool kIsDocumented =
    kIsOneOf<T, std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t, std::uint16_t,
             std::uint32_t, std::uint64_t, double>;

/// `char`, `wchar_t`, `char16_t`, ...
template <class T>
inline constexpr bool kIsCharacter = std::is_integral_v<T>&& kIsNumber<T> && !kIsDocumented<T> &&
                                     !kIsOneOf<T, OtherLong, OtherUnsignedLong>;

/// `char` and `wchar_t` count as signed everywhere, though their signedness differs by target.
template <class T>
inline constexpr bool kIsSigned = std::is_signed_v<T> || kIsOneOf<T, char, wchar_t>;

template <class T, class Signed, class Unsigned>
using BySign = std::conditional_t<kIsSigned<T>, Signed, Unsigned>;

/// The documented type that stands for T, by width and signedness.
template <class T>
using Stored = std::conditional_t<
    std::is_floating_point_v<T>, double,
    std::conditional_t<
        sizeof(T) == 1, BySign<T, std::int8_t, std::uint8_t>,
        std::conditional_t<
            sizeof(T) == 2, BySign<T, std::int16_t, std::uint16_t>,
            std::conditional_t<sizeof(T) == 4, BySign<T, std::int32_t, std::uint32_t>,
                               BySign<T, std::int64_t, std::uint64_t>>>>>;

/// The documented type in which a number of type T is compared.
template <class T>
using Compared =
    std::conditional_t<std::is_floating_point_v<T>, double, BySign<T, std::int64_t, std::uint64_t>>;

/// The length of a text for readers that take an `unsigned int`; the greatest one where it is less.
inline unsigned int lengthOf(std::string_view text) noexcept {
  constexpr std::size_t kMax = std::numeric_limits<unsigned int>::max();
  return static_cast<unsigned int>(std::min(text.size(), kMax));
}

// --- Conditions of templates ---------------------------------------------------------------------

template <class T>
using IfOtherNumber = std::enable_if_t<kIsNumber<T> && !kIsDocumented<T>, int>;

template <class T>
using IfCharacter = std::enable_if_t<kIsCharacter<T>, int>;

template <class T>
using IfNarrowNumber =
    std::enable_if_t<kIsNumber<T> && !kIsOneOf<T, std::int64_t, std::uint64_t, double>, int>;

template <class T>
using IfNarrowInteger =
    std::enable_if_t<std::is_integral_v<T> && kIsNumber<T> && !std::is_same_v<T, std::int64_t>,
                     int>;

/// A pointer that must not turn into a bool: any but pointers to char.
template <class T>
using IfStrangePointer = std::enable_if_t<!kIsOneOf<T, char, const char>, int>;

/// Nothing that would have to become a view first: beside `const std::string&`, such a parameter
/// would leave `{"a", 1}`, and types that convert to both, without one best way.
template <class T>
using IfView = std::enable_if_t<std::is_same_v<T, std::string_view>, int>;

/// A C string, a string, a view, ... but not a value, which may hold one, and not `nullptr`.
template <class T>
inline constexpr bool kIsText = !std::is_base_of_v<Variant, T> && !std::is_null_pointer_v<T> &&
                                std::is_convertible_v<const T&, std::string_view>;
template <class T>
using IfText = std::enable_if_t<kIsText<T>, int>;

/// What becomes a `bool` in silence, though it may be meant as a default or as another key.
template <class T>
inline constexpr bool kIsNoFlag = std::is_scalar_v<T> && !std::is_same_v<T, bool>;
template <class T>
using IfNoFlag = std::enable_if_t<kIsNoFlag<T>, int>;

/// Calls such as `HasKey(key, flag)` that mean something else: with no flag, but an integer as key
/// (0 would be a null C string), and with a value as key, which would be read as an integer.
template <class Key, class... Flag>
using IfMistaken =
    std::enable_if_t<sizeof...(Flag) == 0 ? std::is_base_of_v<Variant, Key>
                                          : std::is_arithmetic_v<Key> || (kIsNoFlag<Flag> || ...),
                     int>;

/// A text as the documented overloads take it.
template <class T>
using StringFrom =
    std::conditional_t<std::is_same_v<T, std::string>, const std::string&, std::string>;
/// The same where there is an overload for C strings.
template <class T>
using KeyFrom =
    std::conditional_t<std::is_convertible_v<const T&, const char*>, const char*, StringFrom<T>>;

/// What `{a, b}` converts to, and nothing else.
struct Braces {
  template <class A, class B, class... More>
  Braces(A, B, More...);
};

/// A value, and nothing that could become one.
template <class V>
using IfVariant = std::enable_if_t<std::is_base_of_v<Variant, V>, int>;

/// What may stand to the left of `== variant`.
template <class T>
using IfComparable = std::enable_if_t<
    std::is_arithmetic_v<T> || kIsOneOf<T, VariantType, std::string, std::string_view, timeval> ||
        (std::is_convertible_v<const T&, const char*> && !std::is_base_of_v<Variant, T>),
    int>;

}  // namespace detail
}  // namespace vexo::variant

#endif

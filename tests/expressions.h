// What callers naturally write with values, and what must not compile. Plain C++17; that a compiler
// accepts it is the test (expressions_test.sh asks every compiler for every target).
#ifndef VEXO_TESTS_EXPRESSIONS_H
#define VEXO_TESTS_EXPRESSIONS_H

#include <ctime>
#include <functional>
#include <map>
#include <type_traits>
#include <vector>

#include "vexo_variant/lookup.h"
#include "vexo_variant/ostream.h"
#include "vexo_variant/text_error.h"
#include "vexo_variant/toml_text.h"
#include "vexo_variant/variant.h"

namespace vexo::tests {

using namespace variant;

inline constexpr auto kEqual = [](auto&& a, auto&& b) -> decltype(a == b) { return a == b; };
inline constexpr auto kUnequal = [](auto&& a, auto&& b) -> decltype(a != b) { return a != b; };
inline constexpr auto kStream = [](auto&& a, auto&& b) -> decltype(a << b) { return a << b; };
inline constexpr auto kSubscript = [](auto&& a, auto&& b) -> decltype(a[b]) { return a[b]; };

template <const auto& kOperation, class... Operands>
inline constexpr bool kCompiles = std::is_invocable_v<decltype(kOperation), Operands...>;
template <class Result, const auto& kOperation, class... Operands>
inline constexpr bool kGives = std::is_invocable_r_v<Result, decltype(kOperation), Operands...>;

/// Whether every type passes; the assertions inside Check name the one that does not.
template <template <class> class Check, class... Ts>
inline constexpr bool kEach = (Check<Ts>::value && ...);

// --- What must compile ---------------------------------------------------------------------------

template <class T>
struct Comparable : std::true_type {
  static_assert(kGives<bool, kEqual, const Variant&, const T&>);
  static_assert(kGives<bool, kEqual, const T&, const Variant&>);
  static_assert(kGives<bool, kUnequal, Variant&, T&> && kGives<bool, kUnequal, T&, Variant&>);
  static_assert(kGives<bool, kEqual, const BaseVariantContainer&, T>);
  static_assert(kGives<bool, kEqual, T, const BaseVariantContainer&>);
};

template <class T>
struct Storable : std::true_type {
  static_assert(std::is_constructible_v<Variant, T> && std::is_convertible_v<const T&, Variant>);
  static_assert(std::is_assignable_v<Variant&, T> && std::is_assignable_v<Variant&, const T&>);
};

template <class T>
struct Readable : std::true_type {
  static_assert(std::is_convertible_v<Variant&, T> && std::is_convertible_v<const Variant&, T>);
};

template <class T>
struct Number : std::conjunction<Comparable<T>, Storable<T>, Readable<T>> {};

/// Read by a cast only: what could become a `char` could become the only one of a `std::string`.
template <class T>
struct Character : std::conjunction<Comparable<T>, Storable<T>> {
  static_assert(std::is_constructible_v<T, Variant&> && !std::is_convertible_v<Variant&, T>);
};

template <class T>
struct Key : std::true_type {
  static_assert(kGives<Variant&, kSubscript, Variant&, const T&>);
  static_assert(kGives<const Variant&, kSubscript, const Variant&, const T&>);
  static_assert(kGives<Variant&, kSubscript, Variant&, T&>);
};

template <template <class> class Check>
inline constexpr bool kEachInteger =
    kEach<Check, std::int8_t, std::int16_t, std::int32_t, std::uint8_t, std::uint16_t,
          std::uint32_t, long, unsigned long, long long, unsigned long long, std::time_t>;
template <template <class> class Check>
inline constexpr bool kEachCharacter = kEach<Check, char, wchar_t, char16_t, char32_t>;

static_assert(kEachInteger<Number> && kEach<Number, bool, float, double, long double>);
static_assert(kEachInteger<Key> && kEachCharacter<Key> && kEachCharacter<Character>);
static_assert(kEach<Key, const char*, char*, std::string, std::string_view, Variant>);
static_assert(kEach<Comparable, const char*, char*, std::string, std::string_view, char[4], timeval,
                    VariantType, std::nullptr_t, Variant, BaseVariantContainer>);
static_assert(kEach<Storable, const char*, char*, std::string, std::string_view, timeval, Variant>);
static_assert(kEach<Readable, const char*, std::string, const std::string&, std::string_view,
                    timeval, const timeval&, const VariantMap*, const VariantBuffer*, VariantType>);

/// A stream takes values; of what could become one, it goes on to take what it took before.
template <class T>
struct Streamable : std::true_type {
  static_assert(kGives<std::ostream&, kStream, std::ostream&, T>);
};
static_assert(kEach<Streamable, Variant, Variant&, const Variant&, const BaseVariantContainer&,
                    VariantType, int, const char*, std::string, Variant*>);
static_assert(!kCompiles<kStream, std::ostream&, timeval>);

template <class... Ts>
void use(const Ts&...) {}

/// What converts to both, as some string classes do, is a string.
struct Both {
  operator std::string() const { return {}; }
  operator std::string_view() const { return {}; }
};

/// Never called. Literals and statements say what types alone cannot: 0 is a null pointer too.
inline void callersWrite(Variant& v, const Variant& c, bool yes) {
  use(v[0], v[-1], v[1u], v["a"]["b"][0], v[v], c[0], c["a"], c[-1][1ULL], c[c]);
  use(v == 0, 0 == v, 5 != c, v == 5ULL, v == 0.5f, v == 'x', "x" != v, V_NULL == c, v == c["a"]);
  use(Variant(0), Variant(5L), Variant{7}, Variant("text"), Variant(std::string("text")));
  use(std::vector<Variant>{1, "a", 2.5, true, 5ULL, v}, VariantType(c) == 0x8001);
  v = 0;
  v["list"][-1] = v["size"] = sizeof v;
  v = yes ? "a" : "bc";
  const Variant made = 5L;
  std::size_t n = c["n"];
  std::string s = c["s"];
  const VariantMap* map = v;
  for (const auto& [key, member] : map->numericKeys) use(key, member);
  if (v) use(!v, v && yes, v ? 1 : 2);
  use(int(v), static_cast<std::uint8_t>(v), float{c}, n, made);
  use(v.HasKey(1), v.HasKey("a", true), v.GetValue(0), v.GetValue("a", false), v.RemoveValue(0),
      v.RemoveValue("a", true), v.PreValidate("a", V_ANY, true, 5),
      v.GetKeyChain(V_ANY, "a/b", true), c.GetKeyChain(V_ANY, s, true));
  use(v[Both()], v[{"a", 1}], v.HasKey(Both(), true), v.HasKey({"a", 1}, true), v == Both(),
      Variant(Both()), v.FromJSON(Both()), v.FromJSON({"[]", 2}), v.FromTOML(""));
  v = Both();
  const std::string_view view = c["s"];
  const auto ofKey = [&](auto key) {
    use(v.HasKey(key), v.HasKey(key, yes), v.GetValue(key), v.GetValue(key, yes), c.HasKey(key),
        v.RemoveValue(key), v.RemoveValue(key, yes), v.HasStrArrayMember(key),
        v.HasStrArrayMember(key, yes), v.GetKeyChain(V_ANY, key, yes),
        c.GetKeyChain(V_ANY, key, yes), find(v, key), valueOr(c, key, view));
    TextError error;
    use(v.FromJSON(key), v.FromKVP(key, yes, yes, yes), v.FromTOML(key),
        readJsonText(key, v, error), readKvpText(key, yes, yes, yes, v, error),
        readTomlText(key, v, error), locateText(key, 0));
  };
  ofKey("a"), ofKey(s), ofKey(view), ofKey(static_cast<const char*>(v)), ofKey(s.data());
  use(v.HasKey("a"), v.RemoveValue("a").GetValue("a"), v.HasKey(c["key"], true));
  std::map<std::string, int> counts;
  std::vector<std::string> names{v["a"], c["b"]};
  use("a" + std::string(v), s += std::string(c), std::stoi(v), counts[c["name"]], names[v[0]]);
  names.push_back(v), names.emplace_back(c);
  use(find(v, 0), find(c, "a", s, -1L, n, KeyChain("a/b")), valueAs<std::size_t>(c["n"]));
  use(valueOr(c, "n", 5), valueOr<std::time_t>(c, s, 0), valueOr(find(v, s), "text"));
  BaseVariantContainer container;
  container = 5;
  v = container = "text";
}

// --- What must not compile -----------------------------------------------------------------------

template <class T>
struct NotStorable : std::true_type {
  static_assert(!std::is_constructible_v<Variant, T> && !std::is_convertible_v<T, Variant>);
  static_assert(!std::is_assignable_v<Variant&, T>);
};

/// A pointer that is not a character string: it must not turn into a bool anywhere.
template <class T>
struct Strange : NotStorable<T> {
  static_assert(!kCompiles<kSubscript, Variant&, T>);
  static_assert(!kCompiles<kEqual, const Variant&, T> && !kCompiles<kEqual, T, const Variant&>);
  static_assert(!kCompiles<kUnequal, const Variant&, T> && !kCompiles<kUnequal, T, const Variant&>);
};

template <class T>
struct NotReadable : std::bool_constant<!std::is_convertible_v<Variant&, T>> {};

struct Pointee {};
enum class Scoped { kOne };

static_assert(kEach<Strange, void*, const void*, int*, std::uint8_t*, const signed char*, Variant*,
                    const VariantMap*, VariantBuffer*, Pointee**, void (*)(), volatile char*,
                    const volatile char*, int Pointee::*, int (Pointee::*)(int) const>);
static_assert(kEach<NotStorable, VariantType, const VariantType&, Scoped, Pointee, int (&)[3]>);
static_assert(kEach<NotReadable, void*, int*, char*, std::uint8_t*, std::string&, timeval&,
                    VariantMap*, VariantBuffer*, Variant*, Scoped, Pointee, std::vector<int>>);
static_assert(!std::is_constructible_v<char*, Variant&> && kEachCharacter<NotReadable>);

/// Arithmetic with the pointer, or an order by address.
template <class Pointer, class... Operators>
inline constexpr bool kTakes = ((std::is_invocable_v<Operators, Pointer&, const Variant&> ||
                                 std::is_invocable_v<Operators, Variant&, Pointer>) ||
                                ...);
template <class Pointer>
struct Unmoved : std::true_type {
  static_assert(!kTakes<Pointer, std::plus<>, std::minus<>, std::less<>, std::less_equal<>,
                        std::greater<>, std::greater_equal<>>);
};
static_assert(kEach<Unmoved, const char*, char*, int*, const Variant*, const char[4]>);
static_assert(!std::is_assignable_v<const Variant&, int> &&
              !std::is_assignable_v<const Variant&, const Variant&>);
static_assert(!kCompiles<kSubscript, Variant&, Pointee> &&
              !kCompiles<kSubscript, Variant&, Scoped>);

}  // namespace vexo::tests

#endif

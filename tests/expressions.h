// What callers naturally write with values, and what must not compile. Plain C++17; that a compiler
// accepts it is the test (expressions_test.sh asks every compiler for every target).
#ifndef VEXO_TESTS_EXPRESSIONS_H
#define VEXO_TESTS_EXPRESSIONS_H

#include <cstddef>
#include <ctime>
#include <string>
#include <type_traits>
#include <vector>

#include "vexo_variant/text_error.h"
#include "vexo_variant/variant.h"

namespace vexo::tests {

using variant::BaseVariantContainer;
using variant::Variant;
using variant::VariantBuffer;
using variant::VariantMap;
using variant::VariantType;

inline constexpr auto kEqual = [](auto&& a, auto&& b) -> decltype(a == b) { return a == b; };
inline constexpr auto kUnequal = [](auto&& a, auto&& b) -> decltype(a != b) { return a != b; };
inline constexpr auto kSubscript = [](auto&& a, auto&& b) -> decltype(a[b]) { return a[b]; };

template <class Operation, class... Operands>
inline constexpr bool kCompiles = std::is_invocable_v<const Operation&, Operands...>;

template <class Result, class Operation, class... Operands>
constexpr bool gives(const Operation&) {
  if constexpr (kCompiles<Operation, Operands...>) {
    return std::is_same_v<std::invoke_result_t<const Operation&, Operands...>, Result>;
  }
  return false;
}

/// Whether every type passes; the assertions inside Check name the one that does not.
template <template <class> class Check, class... Ts>
constexpr bool each() {
  return (Check<Ts>::value && ...);
}

// --- What must compile ---------------------------------------------------------------------------

template <class T>
struct Comparable : std::true_type {
  static_assert(gives<bool, decltype(kEqual), const Variant&, const T&>(kEqual));
  static_assert(gives<bool, decltype(kEqual), const T&, const Variant&>(kEqual));
  static_assert(gives<bool, decltype(kUnequal), Variant&, T&>(kUnequal));
  static_assert(gives<bool, decltype(kUnequal), T&, Variant&>(kUnequal));
  static_assert(gives<bool, decltype(kEqual), const BaseVariantContainer&, T>(kEqual));
  static_assert(gives<bool, decltype(kEqual), T, const BaseVariantContainer&>(kEqual));
};

template <class T>
struct Storable : std::true_type {
  static_assert(std::is_constructible_v<Variant, T> && std::is_convertible_v<const T&, Variant>);
  static_assert(std::is_same_v<decltype(std::declval<Variant&>() = std::declval<T>()), Variant&>);
  static_assert(std::is_assignable_v<Variant&, const T&>);
};

template <class T>
struct Readable : std::true_type {
  static_assert(std::is_convertible_v<Variant&, T> && std::is_convertible_v<const Variant&, T> &&
                std::is_convertible_v<Variant, T>);
};

template <class T>
struct Number : std::conjunction<Comparable<T>, Storable<T>, Readable<T>> {};

template <class T>
struct Key : std::true_type {
  static_assert(gives<Variant&, decltype(kSubscript), Variant&, const T&>(kSubscript));
  static_assert(gives<const Variant&, decltype(kSubscript), const Variant&, const T&>(kSubscript));
  static_assert(gives<Variant&, decltype(kSubscript), Variant&, T&>(kSubscript));
};

template <template <class> class Check>
constexpr bool eachInteger() {
  return each<Check, std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t,
              std::uint16_t, std::uint32_t, std::uint64_t, long, unsigned long, long long,
              unsigned long long, std::size_t, std::ptrdiff_t, std::time_t, char, wchar_t, char16_t,
              char32_t>();
}

static_assert(eachInteger<Number>() && each<Number, bool, float, double, long double>());
static_assert(eachInteger<Key>() && each<Key, const char*, char*, std::string, Variant>());
static_assert(each<Comparable, const char*, char*, std::string, char[4], timeval, VariantType>());
static_assert(each<Comparable, Variant, BaseVariantContainer>());
static_assert(each<Storable, const char*, char*, std::string, timeval, Variant>());
static_assert(each<Readable, const char*, std::string, const std::string&, timeval, const timeval&,
                   const VariantMap*, const VariantBuffer*, VariantType>());

template <class... Ts>
void use(const Ts&...) {}

/// Never called. Literals and statements say what types alone cannot: 0 is a null pointer too.
inline void callersWrite(Variant& v, const Variant& c, bool yes) {
  use(v[0], v[-1], v[1u], v[1L], v["a"]["b"][0], v[v], c[0], c["a"], c[-1][1ULL], c[c]);
  use(v == 0, 0 == v, v != 5, 5 != c, v == 5L, v == 5ULL, v == 0.5f, v == 'x', v == "x", "x" != v);
  use(v == variant::V_NULL, variant::V_NULL == c, v != variant::V_MAP, v == v, v == c["a"]);
  use(Variant(0), Variant(5L), Variant(5LL), Variant(5ULL), Variant(1.5f), Variant('x'), Variant{7},
      Variant("text"), Variant(std::string("text")), Variant(yes));
  use(std::vector<Variant>{1, "a", 2.5, true, 5ULL, v});
  v = 0;
  v = 5UL;
  v = 5LL;
  v = 1.5f;
  v["time"] = std::time(nullptr);
  v["list"][-1] = v["size"] = sizeof v;
  v = yes ? "a" : "bc";
  const Variant made = 5L;
  long x = v;
  std::size_t n = c["n"];
  const std::time_t t = v;
  std::string s = v;
  std::string s2 = c["s"];
  const std::string& r = c;
  const char* p = v;
  timeval time = v;
  const VariantMap* map = v;
  const VariantType type = c;
  for (const auto& [key, member] : map->numericKeys) use(key, member);
  if (v) use(!v, v && yes, v ? 1 : 2);
  use(int(v), static_cast<std::uint8_t>(v), float{c}, x, n, t, s, s2, r, p, time, type, made);
  use(v.HasKey(1), v.HasKey("a", true), v.GetValue(0), v.GetValue("a", false), v.RemoveValue(0),
      v.RemoveValue("a", true), v.PreValidate("a", variant::V_ANY, true, 5),
      v.GetKeyChain(variant::V_ANY, "a/b", true), c.GetKeyChain(variant::V_ANY, s, true));
  use(type == 0x8001, 0x8001u == type, type == variant::V_NULL);
  BaseVariantContainer container;
  container = 5;
  container = "text";
  container["a"] = v;
  v = container;
}

// --- What must not compile -----------------------------------------------------------------------

template <class T>
struct NotStorable : std::true_type {
  static_assert(!std::is_constructible_v<Variant, T>);
  static_assert(!std::is_assignable_v<Variant&, T>);
  static_assert(!std::is_convertible_v<T, Variant>);
};

/// A pointer that is not a character string: it must not turn into a bool anywhere.
template <class T>
struct Strange : NotStorable<T> {
  static_assert(!kCompiles<decltype(kSubscript), Variant&, T>);
  static_assert(!kCompiles<decltype(kEqual), const Variant&, T>);
  static_assert(!kCompiles<decltype(kEqual), T, const Variant&>);
  static_assert(!kCompiles<decltype(kUnequal), const Variant&, T>);
  static_assert(!kCompiles<decltype(kUnequal), T, const Variant&>);
};

template <class T>
struct NotReadable : std::true_type {
  static_assert(!std::is_convertible_v<Variant&, T>);
};

struct Pointee {};
enum class Scoped { kOne };

static_assert(each<Strange, void*, const void*, int*, std::uint8_t*, const signed char*, Variant*,
                   const VariantMap*, VariantBuffer*, const Pointee*, Pointee**, void (*)(),
                   int (*)(char)>());
static_assert(each<Strange, volatile char*, const volatile char*>());
static_assert(each<Strange, int Pointee::*, void (Pointee::*)(), int (Pointee::*)(int) const>());
static_assert(each<NotStorable, VariantType, const VariantType&, Scoped, Pointee, int (&)[3]>());
static_assert(each<NotReadable, void*, int*, char*, std::uint8_t*, std::string&, timeval&,
                   VariantMap*, VariantBuffer*, Variant*, Scoped, Pointee, std::vector<int>>());
static_assert(!std::is_assignable_v<const Variant&, int> &&
              !std::is_assignable_v<const Variant&, const Variant&>);
static_assert(!kCompiles<decltype(kSubscript), Variant&, Pointee> &&
              !kCompiles<decltype(kSubscript), Variant&, Scoped>);

}  // namespace vexo::tests

#endif

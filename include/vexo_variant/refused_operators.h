// Operators that must not compile: without these declarations the conversions of a value would
// give such lines a meaning that nobody has in mind. variant.h includes this file.
#ifndef VEXO_VARIANT_REFUSED_OPERATORS_H
#define VEXO_VARIANT_REFUSED_OPERATORS_H

#include <cstddef>

#include "vexo_variant/variant_traits.h"

namespace vexo::variant {
namespace detail {

/// A name for the messages of compilers.
struct NameTheTypeThatIsMeant {};
using Refused = NameTheTypeThatIsMeant;

}  // namespace detail

// `"camera " + value` would move the pointer by the number that the value holds.
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator+(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator+(const V&, T*) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator-(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator-(const V&, T*) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator+=(T*&, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator-=(T*&, const V&) = delete;

// `value < "m"` would compare addresses.
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator<(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator<(const V&, T*) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator>(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator>(const V&, T*) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator<=(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator<=(const V&, T*) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator>=(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator>=(const V&, T*) = delete;
#ifdef __cpp_impl_three_way_comparison
template <class T, class V, detail::IfVariant<V> = 0>
detail::Refused operator<=>(const V&, T*) = delete;
#endif

// `value || "none"` would be true, and no default.
template <std::size_t kSize, class V, detail::IfVariant<V> = 0>
detail::Refused operator||(const V&, const char (&)[kSize]) = delete;

}  // namespace vexo::variant

#endif

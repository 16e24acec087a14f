// Typed reads.
#include <cmath>
#include <limits>
#include <type_traits>

#include "log_area.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_cast"};

/// Truncates toward zero; what T cannot hold becomes its nearest value, NaN becomes 0.
template <class T>
T saturate(double value) {
  using Limits = std::numeric_limits<T>;
  const double above = std::ldexp(1.0, Limits::digits);  // one past the greatest value, exactly
  if (std::isnan(value)) return 0;
  if (value >= above) return Limits::max();
  if (value <= static_cast<double>(Limits::min())) return Limits::min();
  return static_cast<T>(value);
}

/// Doubles go through a 32-bit integer where the target is at most that wide.
template <class T>
T doubleAs(double value) {
  if constexpr (std::is_same_v<T, double>) {
    return value;
  } else {
    using Narrow = std::conditional_t<std::is_signed_v<T>, std::int32_t, std::uint32_t>;
    using Wide = std::conditional_t<sizeof(T) == 8, T, Narrow>;
    return static_cast<T>(saturate<Wide>(value));
  }
}

/// `bits` are those of integerBits().
template <class T>
T integerAs(std::uint32_t type, std::uint64_t bits) {
  return isSignedInteger(type) ? static_cast<T>(static_cast<std::int64_t>(bits))
                               : static_cast<T>(bits);
}

template <class T>
T numberAs(const Variant& value, LogSite site) {
  const std::uint32_t type = typeOf(value);
  if (type == kCodeOf<T>) return load<T>(payloadOf(value));
  if (type == V_DOUBLE) return doubleAs<T>(load<double>(payloadOf(value)));
  if (!readsAsInteger(type)) {
    kLog.violation(site, "Invalid variant type: 0x%04x", type);
  }
  return integerAs<T>(type, integerBits(type, payloadOf(value)));
}

const Payload& payloadAs(VariantType type, const Variant& value, LogSite site) {
  if (typeOf(value) != type) kLog.violation(site, "Invalid state");
  return payloadOf(value);
}

}  // namespace

Variant::operator VariantType() const noexcept { return callersType(type_); }

Variant::operator bool() const noexcept {
  if (type_ == V_DOUBLE) return payload_.bits != 0;
  return integerBits(type_, payload_) != 0;
}

Variant::operator std::int8_t() const { return numberAs<std::int8_t>(*this, "operator int8_t"); }
Variant::operator std::int16_t() const { return numberAs<std::int16_t>(*this, "operator int16_t"); }
Variant::operator std::int32_t() const { return numberAs<std::int32_t>(*this, "operator int32_t"); }
Variant::operator std::int64_t() const { return numberAs<std::int64_t>(*this, "operator int64_t"); }
Variant::operator std::uint8_t() const { return numberAs<std::uint8_t>(*this, "operator uint8_t"); }
Variant::operator std::uint16_t() const {
  return numberAs<std::uint16_t>(*this, "operator uint16_t");
}
Variant::operator std::uint32_t() const {
  return numberAs<std::uint32_t>(*this, "operator uint32_t");
}
Variant::operator std::uint64_t() const {
  return numberAs<std::uint64_t>(*this, "operator uint64_t");
}
Variant::operator double() const { return numberAs<double>(*this, "operator double"); }

Variant::operator const timeval&() const {
  return *payloadAs(V_TIMESTAMP, *this, "operator const timeval&").timestamp;
}
Variant::operator const std::string&() const {
  return *payloadAs(V_STRING, *this, "operator const string&").string;
}
Variant::operator const char*() const {
  return payloadAs(V_STRING, *this, "operator const char*").string->c_str();
}
Variant::operator const VariantMap*() const {
  const VariantType type = isMap(*this) ? static_cast<VariantType>(type_) : V_MAP;
  return payloadAs(type, *this, "operator const vexo::variant::VariantMap*").map;
}
Variant::operator const VariantBuffer*() const {
  return payloadAs(V_BINARY, *this, "operator const vexo::variant::VariantBuffer*").buffer;
}

}  // namespace vexo::variant

/// @namespace vexo::variant
/// One dynamically typed value, Variant, and trees of them, with BIN, AMF, JSON, KVP and TOML.
///
/// Conventions that hold for every declaration below:
/// - A value owns everything below it. Copies are deep, moves hand the record over and leave null.
/// - A contract violation (an operation on a value of a type it does not accept) logs its message,
///   at level 3 through `logInternal`, and ends the process through `forceCrash`; it never returns.
///   Bad input is never a contract violation: readers report it by their result.
/// - `std::bad_alloc` passes through to the caller; nothing leaks then, and a value that was
///   being changed is valid (null after a failed assignment). Code that is built without exceptions
///   (`-fno-exceptions`) may include these headers and call the library, which throws all the same:
///   where such code lies between the library and a handler, the exception runs no destructors
///   there or ends the process. Whatever these headers throw by themselves aborts in such code.
/// - Any number of threads may read one tree; a thread that changes a tree must have it to itself.
/// - No operation's use of stack grows with the depth of a tree or of an input, and none depends on
///   the locale.
#ifndef VEXO_VARIANT_VARIANT_H
#define VEXO_VARIANT_VARIANT_H

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "vexo_variant/config.h"
#include "vexo_variant/member_map.h"
#include "vexo_variant/refused_operators.h"
#include "vexo_variant/variant_traits.h"

#define VEXO_VARIANT_API __attribute__((visibility("default")))

namespace vexo::utils {
class IOBuffer;
}

namespace vexo::variant {

static_assert(sizeof(timeval) == VEXO_VARIANT_TIMEVAL_SIZE,
              "this program and libvexo_variant disagree about the size of time_t");

class Variant;
struct VariantMap;
struct VariantBuffer;

/// The type of a value. The high nibble holds class bits: 0x8000 stored inside the value, 0x4000
/// numeric, 0x2000 signed, 0x1000 stored in a record on the heap. BIN stores these codes.
enum VariantType : std::uint16_t {
  V_NULL = 0x8001,
  V_BOOL = 0x8003,
  V_INT8 = 0xE004,
  V_INT16 = 0xE005,
  V_INT32 = 0xE006,
  V_INT64 = 0xE007,
  V_UINT8 = 0xC008,
  V_UINT16 = 0xC009,
  V_UINT32 = 0xC00A,
  V_UINT64 = 0xC00B,
  V_DOUBLE = 0xE00C,
  V_TIMESTAMP = 0x100D,
  V_STRING = 0x100E,
  V_BINARY = 0x100F,
  V_MAP = 0x1010,
  V_TYPED_MAP = 0x1011,
  V_NUMERIC = 0x4000,  ///< a filter that matches every numeric type; no value has it
  V_ANY = 0xFFFF,      ///< a filter that matches every type; no value has it
};

/// The integer-keyed members of a map, ascending by signed key.
using NumericMembers = MemberMap<std::int64_t, Variant>;
/// The string-keyed members of a map, ascending byte-wise.
using StringMembers = MemberMap<std::string, Variant>;

/// A dynamically typed value: null, a boolean, an integer of 8 to 64 bits, a double, a timestamp, a
/// string, a byte buffer, or a map, whose members are values again.
///
/// A map holds two independent sets of members at once, one with integer keys and one with string
/// keys, and a flag that marks it as an array. A *typed map* also carries the name of its type.
/// Below, "a map" means either kind, unless one is named.
///
/// Templates stand beside the overloads, so that a program means the same on every target:
/// `IfOtherNumber`, `IfNarrowNumber` and `IfNarrowInteger` let in the arithmetic types that no
/// overload names, `IfView` a `std::string_view` and nothing else that converts to one, `IfText`
/// texts of any kind. What is deleted would become a number or a `bool` unasked.
class VEXO_VARIANT_API Variant {
 public:
  // --- Life --------------------------------------------------------------------------------------

  /// Null.
  Variant() noexcept;
  ///@{
  /// A value of this type.
  Variant(bool value) noexcept;
  Variant(std::int8_t value) noexcept;
  Variant(std::int16_t value) noexcept;
  Variant(std::int32_t value) noexcept;
  Variant(std::int64_t value) noexcept;
  Variant(std::uint8_t value) noexcept;
  Variant(std::uint16_t value) noexcept;
  Variant(std::uint32_t value) noexcept;
  Variant(std::uint64_t value) noexcept;
  Variant(double value) noexcept;
  Variant(const timeval& value);
  ///@}
  /// A string up to the terminating zero byte. Throws `std::logic_error` for a null pointer.
  Variant(const char* value);
  ///@{
  /// A string of all bytes of `value`, zero bytes included.
  Variant(const std::string& value);
  template <class T, detail::IfView<T> = 0>
  Variant(T value) : Variant(std::string()) {
    payload_.string->assign(value);
  }
  ///@}
  /// A byte buffer. With `external` the bytes stay the caller's: nothing is copied, they must
  /// outlive every value that refers to them, and are never released. Without it `size` bytes are
  /// copied; `data` is not read when `size` is 0. Copies of the value always own their bytes.
  Variant(std::uint8_t* data, std::uint32_t size, bool external);
  /// A deep copy.
  Variant(const Variant& other);
  /// Takes the record over; `other` becomes null.
  Variant(Variant&& other) noexcept;
  /// Releases the payload, in linear time. Needs no memory.
  virtual ~Variant();

  /// Every other arithmetic type is stored as the documented type of its width and signedness
  /// (`float` as double).
  template <class T, detail::IfOtherNumber<T> = 0>
  Variant(T value) noexcept : Variant(static_cast<detail::Stored<T>>(value)) {}
  template <class T, detail::IfStrangePointer<T> = 0>
  Variant(T*) = delete;
  template <class T, class C>
  Variant(T C::*) = delete;
  /// A type code is not a value.
  Variant(VariantType) = delete;
  /// Braces are no array: `{"a", "b"}` would be a string between two pointers.
  Variant(detail::Braces) = delete;

  ///@{
  /// All assignments release the old payload and never reuse its record, except that assigning a
  /// value to itself does nothing. What is assigned may live inside the target, at any depth. The
  /// target may live inside what is copied (and counts as null there), not inside what is moved.
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept;
  Variant& operator=(bool value) noexcept;
  Variant& operator=(std::int8_t value) noexcept;
  Variant& operator=(std::int16_t value) noexcept;
  Variant& operator=(std::int32_t value) noexcept;
  Variant& operator=(std::int64_t value) noexcept;
  Variant& operator=(std::uint8_t value) noexcept;
  Variant& operator=(std::uint16_t value) noexcept;
  Variant& operator=(std::uint32_t value) noexcept;
  Variant& operator=(std::uint64_t value) noexcept;
  Variant& operator=(double value) noexcept;
  Variant& operator=(const timeval& value);
  /// A null pointer leaves null.
  Variant& operator=(const char* value);
  Variant& operator=(const std::string& value);
  template <class T, detail::IfView<T> = 0>
  Variant& operator=(T value) {
    const Variant old(std::move(*this));  // `value` may be a part of it
    return *this = Variant(value);
  }
  template <class T, detail::IfOtherNumber<T> = 0>
  Variant& operator=(T value) noexcept {
    return *this = static_cast<detail::Stored<T>>(value);
  }
  template <class T, detail::IfStrangePointer<T> = 0>
  Variant& operator=(T*) = delete;
  template <class T, class C>
  Variant& operator=(T C::*) = delete;
  Variant& operator=(VariantType) = delete;
  Variant& operator=(std::initializer_list<Variant>) = delete;
  template <class T>
  Variant& operator=(std::initializer_list<T>) = delete;
  ///@}

  /// Releases the payload; the value is null afterwards. Needs no memory.
  void Free();
  /// Free, returning the value itself.
  Variant& Reset();
  /// Makes this value a deep copy of `other` without releasing what it held: only for a value that
  /// is null or holds a scalar.
  void Copy(const Variant& other);
  /// Turns the value into an owned buffer of `size` bytes, all 0 if `zeroFill`, and returns its
  /// record, whose `size` may be lowered but not raised. Without `zeroFill` the bytes are
  /// indeterminate. The record lives until the value changes; when memory runs out it is null.
  VariantBuffer* AllocateBuffer(std::uint32_t size, bool zeroFill);
  /// The name of a type ("INT32"), or "unknown"; a constant.
  static const char* VariantTypeToString(VariantType type) noexcept;

  // --- Typed reads -------------------------------------------------------------------------------
  /// @name Typed reads
  /// Numbers convert freely and silently: integers wrap to the width of the target; doubles
  /// truncate, saturate to 32 bits (for 64-bit targets to 64) of the target's signedness and wrap
  /// from there (NaN gives 0); null reads as 0 and a boolean as 0 or 1. Reading any other type as a
  /// number is a contract violation: "Invalid variant type: 0x%04x". The reads that return a
  /// pointer or reference accept only their own type, everything else is a contract violation:
  /// "Invalid state"; what they return lives until the value is changed or destroyed.
  /// @{

  /// The value as this type.
  operator std::int8_t() const;
  operator std::int16_t() const;
  operator std::int32_t() const;
  operator std::int64_t() const;
  operator std::uint8_t() const;
  operator std::uint16_t() const;
  operator std::uint32_t() const;
  operator std::uint64_t() const;
  operator double() const;
  operator const timeval&() const;
  operator const std::string&() const;
  operator const char*() const;
  operator std::string_view() const { return this->operator const std::string&(); }
  operator const VariantMap*() const;
  operator const VariantBuffer*() const;
  /// Whichever of `long` and `long long` is not `std::int64_t`.
  operator detail::OtherLong() const { return detail::Stored<detail::OtherLong>(*this); }
  operator detail::OtherUnsignedLong() const {
    return detail::Stored<detail::OtherUnsignedLong>(*this);
  }
  /// The value as this type.
  operator float() const { return static_cast<float>(double(*this)); }
  operator long double() const { return double(*this); }
  /// Characters are read by a cast only, so that `std::string{value}` cannot be one of them.
  template <class T, detail::IfCharacter<T> = 0>
  explicit operator T() const {
    return static_cast<T>(detail::Stored<T>(*this));
  }
  /// A set flag, a number that is not 0 (for doubles: any bit set, so -0.0 and NaN too); false for
  /// every other type.
  operator bool() const noexcept;
  /// The type.
  operator VariantType() const noexcept;
  /// @}

  // --- Equality ----------------------------------------------------------------------------------
  /// @name Equality
  /// Never logs; only comparing trees of more than 32 levels can throw (`std::bad_alloc`). Numbers
  /// compare by value across all numeric types: two values in the domain of the left one (so
  /// Variant(2) == Variant(2.5), but not the other way round), a value and a plain number in the
  /// domain of the plain one (so Variant(2.5) == 2), 64-bit integers of either signedness by their
  /// bits. Everything else equals only its own kind. Trees compare deeply, in linear time.
  /// @{

  /// Compares with a value of this type.
  bool operator==(bool value) const noexcept;
  bool operator==(std::int64_t value) const noexcept;
  bool operator==(std::uint64_t value) const noexcept;
  bool operator==(double value) const noexcept;
  bool operator==(const timeval& value) const noexcept;
  /// A null pointer equals null, which it becomes when it is assigned.
  bool operator==(const char* value) const noexcept;
  bool operator==(const std::string& value) const noexcept;
  bool operator==(const Variant& other) const;
  /// Asks for the type: `value == V_MAP`.
  bool operator==(VariantType type) const noexcept;
  bool operator!=(bool value) const noexcept;
  bool operator!=(std::int64_t value) const noexcept;
  bool operator!=(std::uint64_t value) const noexcept;
  bool operator!=(double value) const noexcept;
  bool operator!=(const timeval& value) const noexcept;
  bool operator!=(const char* value) const noexcept;
  bool operator!=(const std::string& value) const noexcept;
  bool operator!=(const Variant& other) const;
  bool operator!=(VariantType type) const noexcept;
  template <class T, detail::IfNarrowNumber<T> = 0>
  bool operator==(T value) const noexcept {
    return *this == static_cast<detail::Compared<T>>(static_cast<detail::Stored<T>>(value));
  }
  template <class T, detail::IfNarrowNumber<T> = 0>
  bool operator!=(T value) const noexcept {
    return !(*this == value);
  }
  template <class T, detail::IfView<T> = 0>
  bool operator==(T value) const noexcept {
    return type_ == V_STRING && *payload_.string == value;
  }
  template <class T, detail::IfView<T> = 0>
  bool operator!=(T value) const noexcept {
    return !(*this == value);
  }
  template <class T, detail::IfStrangePointer<T> = 0>
  bool operator==(T*) const = delete;
  template <class T, detail::IfStrangePointer<T> = 0>
  bool operator!=(T*) const = delete;
  template <class T, class C>
  bool operator==(T C::*) const = delete;
  template <class T, class C>
  bool operator!=(T C::*) const = delete;
  /// @}

  // --- Iteration ---------------------------------------------------------------------------------
  /// @name Iteration
  /// The iterators of the two member sets of a map; anything else is a contract violation ("Invalid
  /// state"). An iterator lives until its member is removed or the map is released.
  /// @{

  /// The first member of the set, or the end behind its last one.
  NumericMembers::iterator num_begin();
  NumericMembers::iterator num_end();
  NumericMembers::const_iterator num_begin() const;
  NumericMembers::const_iterator num_end() const;
  StringMembers::iterator str_begin();
  StringMembers::iterator str_end();
  StringMembers::const_iterator str_begin() const;
  StringMembers::const_iterator str_end() const;
  /// @}

  // --- Subscripts --------------------------------------------------------------------------------
  /// @name Subscripts
  /// The forms that are not const never fail: a value that is not a map becomes an empty map first,
  /// and a missing member is created as null. The key -1 appends behind the largest integer key;
  /// where the map was empty it appends key 0 and sets the array flag. (Behind the largest possible
  /// integer there is nothing: "Invalid state".) The const forms only find; a value that is not a
  /// map ("Invalid variant type: 0x%04x") or a missing member ("Key not found in const variant:
  /// ...") is a contract violation, and so is a null C string ("Invalid subscript operator
  /// parameter"). References stay valid while other members come and go. Logarithmic; appending is
  /// constant.
  /// @{

  /// The member with this key.
  Variant& operator[](std::int64_t key);
  Variant& operator[](const std::string& key);
  Variant& operator[](const char* key);
  /// By a string or a signed integer; any other type is a contract violation: "Invalid indexer
  /// type".
  Variant& operator[](const Variant& key);
  const Variant& operator[](std::int64_t key) const;
  const Variant& operator[](const std::string& key) const;
  const Variant& operator[](const char* key) const;
  /// By a string or any number (truncated); any other type is a contract violation: "Invalid
  /// subscript operator parameter: %s".
  const Variant& operator[](const Variant& key) const;
  Variant& operator[](char* key) { return (*this)[static_cast<const char*>(key)]; }
  const Variant& operator[](char* key) const { return (*this)[static_cast<const char*>(key)]; }
  template <class T, detail::IfView<T> = 0>
  Variant& operator[](T key) {
    return memberNamed(key);
  }
  template <class T, detail::IfView<T> = 0>
  const Variant& operator[](T key) const {
    return memberNamed(key);
  }
  template <class T, detail::IfNarrowInteger<T> = 0>
  Variant& operator[](T key) {
    return (*this)[static_cast<std::int64_t>(static_cast<detail::Stored<T>>(key))];
  }
  template <class T, detail::IfNarrowInteger<T> = 0>
  const Variant& operator[](T key) const {
    return (*this)[static_cast<std::int64_t>(static_cast<detail::Stored<T>>(key))];
  }
  /// @}

  // --- Members -----------------------------------------------------------------------------------
  /// @name Members
  /// Unless said otherwise these need a map; anything else is a contract violation: "Invalid
  /// state". With `caseSensitive` false the case of ASCII letters is ignored and the members are
  /// searched in byte order, so that upper-case spellings come first; that takes linear time.
  /// Where the flag is left out it is true. A flag that is no `bool` does not compile: it may be
  /// meant as a default (see valueOr()).
  /// @{

  /// The array flag; false for anything but a map.
  bool IsArray() const noexcept;
  /// Sets the array flag; null becomes an empty map.
  void IsArray(bool isArray);
  /// The member, created as null if there is none (as the subscripts do).
  Variant& GetValue(const std::string& key, bool caseSensitive);
  /// The same; a null key is a contract violation: "Invalid subscript operator parameter".
  Variant& GetValue(const char* key, bool caseSensitive);
  template <class T, detail::IfText<T> = 0>
  Variant& GetValue(const T& key, bool caseSensitive = true) {
    return GetValue(detail::KeyFrom<T>(key), caseSensitive);
  }
  /// The same as the subscript, for a map.
  Variant& GetValue(std::int64_t key);
  template <class Key, class... Flag, detail::IfMistaken<Key, Flag...> = 0>
  Variant& GetValue(const Key&, Flag...) = delete;
  /// False for anything but a map.
  bool HasKey(std::int64_t key) const noexcept;
  /// A key of the form "[5]" asks for the integer key (decimal, 0x hexadecimal, 0 octal; 0 without
  /// digits) and never for a string key of that spelling.
  bool HasKey(const std::string& key, bool caseSensitive) const noexcept;
  template <class T, detail::IfText<T> = 0>
  bool HasKey(const T& key, bool caseSensitive = true) const {
    return HasKey(detail::StringFrom<T>(key), caseSensitive);
  }
  template <class Key, class... Flag, detail::IfMistaken<Key, Flag...> = 0>
  bool HasKey(const Key&, Flag...) const = delete;
  /// Whether an array holds this string; false for anything but an array. A member before it that
  /// is not a string is a contract violation.
  bool HasStrArrayMember(const std::string& value, bool caseSensitive) const;
  template <class T, detail::IfText<T> = 0>
  bool HasStrArrayMember(const T& value, bool caseSensitive = true) const {
    return HasStrArrayMember(detail::StringFrom<T>(value), caseSensitive);
  }
  /// The number of members with string keys.
  std::size_t StringKeysCount() const;
  /// The number of members with integer keys.
  std::size_t NumericKeysCount() const;
  /// The number of all members.
  std::size_t KeysCount() const;
  /// Removes the members with integer keys; the array flag and the type name stay.
  Variant& ResetNumericKeys();
  /// The same for the members with string keys.
  Variant& ResetStringKeys();
  /// The same for all members.
  Variant& ResetKeys();
  /// Removes a member if it is there; other members keep their keys.
  Variant& RemoveValue(std::int64_t key);
  /// The same; without `caseSensitive` removes every spelling.
  Variant& RemoveValue(const std::string& key, bool caseSensitive);
  /// The same; a null key removes nothing.
  Variant& RemoveValue(const char* key, bool caseSensitive);
  template <class T, detail::IfText<T> = 0>
  Variant& RemoveValue(const T& key, bool caseSensitive = true) {
    return RemoveValue(detail::KeyFrom<T>(key), caseSensitive);
  }
  template <class Key, class... Flag, detail::IfMistaken<Key, Flag...> = 0>
  Variant& RemoveValue(const Key&, Flag...) = delete;
  /// @}

  // --- Whole trees -------------------------------------------------------------------------------
  /// @name Whole trees
  /// @{

  /// Stores every number of the tree in the smallest integer type that holds its value (signed
  /// before unsigned); doubles become integers where they are whole.
  void Compact();
  /// With `stringifyKeys` turns the integer-keyed members of a map into string-keyed ones (an equal
  /// string key is overwritten) and clears the array flag; with `stringifyValues` turns every
  /// scalar reached through string keys into its text. With both, that happens at every depth; the
  /// keys alone change at the top only, and the values alone leave integer-keyed members as they
  /// are. Buffers below a member that gets a string key own their bytes afterwards, as in a copy. A
  /// base64 encoder that fails is a contract violation: "base64 operation failed". Linear time.
  Variant& Stringify(bool stringifyKeys, bool stringifyValues);
  /// Does the same to a copy in `target`, and returns `target`.
  Variant& Stringify(Variant& target, bool stringifyKeys, bool stringifyValues) const;
  /// Indented JSON with type names, for people: `(INT32) "a": 1`. Strings are not escaped; typed
  /// maps appear as a text in their place, as in all JSON.
  std::string ToString() const;
  /// @}

  // --- Key chains --------------------------------------------------------------------------------
  /// @name Key chains
  /// @{

  /// The direct member that one path component names, or null: the zero-terminated text at `name`,
  /// or, when its first `length` bytes have the form "[5]", the integer key.
  const Variant* GetPathComponent(const char* name, unsigned int length, bool caseSensitive) const;
  /// The same.
  Variant* GetPathComponent(const char* name, unsigned int length, bool caseSensitive);
  /// The member that a path such as "network/ports/[0]" leads to, if it has this type (V_ANY: any;
  /// V_NUMERIC: any number); otherwise null. Never creates a member. One slash at the end is
  /// ignored; an empty component finds nothing. The pointer lives as long as its member. A path
  /// ends at its first zero byte; without `caseSensitive` so do the keys it is compared with.
  const Variant* GetKeyChain(VariantType type, const char* path, bool caseSensitive) const;
  /// The same.
  Variant* GetKeyChain(VariantType type, const char* path, bool caseSensitive);
  /// The same.
  const Variant* GetKeyChain(VariantType type, const std::string& path, bool caseSensitive) const;
  /// The same.
  Variant* GetKeyChain(VariantType type, const std::string& path, bool caseSensitive);
  template <class T, detail::IfView<T> = 0>
  const Variant* GetKeyChain(VariantType type, T path, bool caseSensitive) const {
    return GetKeyChain(type, std::string(path), caseSensitive);
  }
  template <class T, detail::IfView<T> = 0>
  Variant* GetKeyChain(VariantType type, T path, bool caseSensitive) {
    return GetKeyChain(type, std::string(path), caseSensitive);
  }
  /// @}

  // --- Validators --------------------------------------------------------------------------------
  /// @name Validators
  /// Each makes sure that a configuration map has a member `key` of a type, replacing a missing or
  /// mistyped one by the default. A value that is not a map becomes an empty one first. `key` is
  /// looked up as a key chain and stored as a plain key; without `caseSensitive` other spellings
  /// are moved to it. A null `key` is a contract violation ("Invalid subscript operator
  /// parameter"). All but PreValidate return the value itself.
  /// @{

  /// Returns the member.
  Variant& PreValidate(const char* key, VariantType type, bool caseSensitive,
                       const Variant& defaultValue);
  /// The flag comes before the default here.
  template <class Flag, detail::IfNoFlag<Flag> = 0>
  Variant& PreValidate(const char* key, VariantType type, Flag, const Variant&) = delete;
  /// A number, clamped into the range (as a double where it had to be).
  Variant& ValidateNumeric(const char* key, double minValue, double maxValue, double defaultValue,
                           bool caseSensitive);
  /// A boolean.
  Variant& ValidateBool(const char* key, bool defaultValue, bool caseSensitive);
  /// A map that is not typed; the default is an empty one.
  Variant& ValidateMap(const char* key, bool caseSensitive);
  /// Not implemented yet: always stores the default and says so at level 4.
  Variant& ValidateSets(const char* key, const Variant& allowedValues, const Variant& defaultValue,
                        bool caseSensitive);
  /// @}

  // --- BIN ---------------------------------------------------------------------------------------
  /// @name BIN
  /// The library's own binary format, described in docs/bin-format.md. A failed write returns 0 (or
  /// false); what did not fit is logged at level 3 as "Limit exceeded: C: %u; V: %u; M: %u" (bytes
  /// of the current value done, bytes needed next, bytes given to it).
  /// @{

  /// A bound of the encoded size in bytes that a write is sure to fit into; 0 when the type of the
  /// value cannot be encoded, or when it would take 4 GiB or more (logged at level 3).
  std::uint32_t GetBinRequiredLength() const;
  /// Encodes into `length` bytes; the number written, or 0.
  std::uint32_t ToInternalBIN(std::uint8_t* buffer, std::uint32_t length) const;
  /// When `length` is below the required length: sets `length` to it and returns 0, without
  /// touching `buffer`. Otherwise encodes and returns the number of bytes written.
  std::uint32_t ToBIN(std::uint8_t* buffer, std::uint32_t& length) const;
  /// Appends the encoding; `output` grows by the required length (the rest is zeros), the result
  /// tells where the encoding ends. When a write fails after `output` has grown (a key that has no
  /// encoding), the result is 0 and what was appended means nothing.
  std::uint32_t ToBIN(vexo::utils::IOBuffer& output) const;
  /// Replaces the content of a file as a whole: whatever happens it holds the old or the new one.
  /// False when it cannot be written, or when the value cannot be encoded.
  bool ToBINFile(const std::string& path) const;
  /// Decodes one value at the start of `length` bytes and returns how many it took, or 0. The old
  /// content is gone in either case; after a failure the value holds what was decoded before it, a
  /// valid tree that means nothing. `buffer` may lie inside the value itself.
  std::uint32_t FromBIN(const std::uint8_t* buffer, std::uint32_t length);
  /// False when the file cannot be read, with the value as it was, or does not begin with a value.
  /// Bytes behind the value are ignored. Files of 4 GiB and more are not read.
  bool FromBINFile(const std::string& path);
  /// @}

  // --- JSON --------------------------------------------------------------------------------------
  /// @name JSON
  /// Written as plain JSON, with markers for what JSON lacks: "b64:..." strings for buffers, ISO
  /// 8601 strings for timestamps. Read in a relaxed dialect: #, // and /* */ comments, optional
  /// commas, literals in any case, hexadecimal and octal integers, no `\u` escapes. See
  /// docs/json.md.
  /// @{

  /// Appends `key` (already quoted, or empty) and the value. False when a buffer cannot be encoded;
  /// a value of an unknown type is a contract violation: "Invalid type %d".
  bool ToJSON(const std::string& key, std::string& output, bool pretty, bool withTypes,
              unsigned int depth) const;
  /// Replaces `output` by the text, indented if `pretty`.
  bool ToJSON(std::string& output, bool pretty) const;
  /// Replaces the content of a file by the text, as a whole. False when it cannot be written, or
  /// when a buffer cannot be encoded.
  bool ToJSONFile(const std::string& path, bool pretty) const;
  /// Reads one value and the gap behind it; the number of bytes consumed, or -1. Never logs. The
  /// old content is gone in either case; after a failure the value holds what was built before it.
  /// Numbers are compacted. Text behind that gap is not looked at, but a comment in the gap must be
  /// whole. Texts of 2 GiB and more are refused, with the value as it was. `data` may lie inside
  /// the value itself.
  int FromJSON(const char* data, unsigned int length);
  /// The same.
  int FromJSON(const std::string& text);
  template <class T, detail::IfView<T> = 0>
  int FromJSON(T text) {
    return FromJSON(text.data(), detail::lengthOf(text));
  }
  /// False when the file cannot be read, with the value null, or does not begin with a value. Text
  /// behind the value is ignored.
  bool FromJSONFile(const std::string& path);
  /// @}

  // --- KVP ---------------------------------------------------------------------------------------
  /// @name KVP
  /// One line for each leaf: its path, a separator, its value, as in "network.dns.0=192.0.2.1".
  /// Types and empty maps are not written; see docs/kvp.md for what comes back.
  /// @{

  /// Appends the lines of the whole tree to `output`; integer-keyed members come first at every
  /// map. False for anything but a V_MAP ("Variant must be a V_MAP to create KVP", level 3), and,
  /// with the lines up to there appended, when a string key contains the separator ("keys can not
  /// contain `%s` separator when serialized into KVP", level 3) or a buffer cannot be encoded. The
  /// text grows with the depth of every leaf. A value of an unknown type is a contract violation:
  /// "Invalid type %d".
  bool ToKVP(std::string& output, const std::string& separator, const std::string& lineEnd) const;
  /// The same for any value, which `prefix` leads to; a value that is not a map is one line.
  bool ToInternalKVP(std::string& output, const std::string& prefix, const std::string& separator,
                     const std::string& lineEnd) const;
  /// Replaces the content of a file by the text, as a whole. False as ToKVP, and when the file
  /// cannot be written.
  bool ToKVPFile(const std::string& path, const std::string& separator,
                 const std::string& lineEnd) const;
  /// Replaces the value by the tree that lines of the form "path=value" stand for. Lines end at
  /// line feeds; empty ones and those that start with '#' are skipped, and so are those without a
  /// '=' ("Invalid line detected. Line number (starting from 0): %zu, \"%s\"", level 3).
  ///
  /// With `splitKeys` the key is a path of members, joined by '.'; a part that is a decimal integer
  /// is an integer key of an array, unless `numericKeysAsStrings`. Without it the whole key is one
  /// member. With `valuesAsStrings` values are strings; otherwise "b64:..." is a buffer, on,
  /// enable, enabled, true and their opposites are 1 and 0, numbers are what they are, compacted,
  /// and the rest are strings. A path that names a member twice replaces it.
  ///
  /// False when a buffer's base64 text is broken, with the lines before it read. `data` and `text`
  /// may lie inside the value itself.
  bool FromKVP(const std::string& text, bool numericKeysAsStrings, bool valuesAsStrings,
               bool splitKeys);
  /// The same.
  bool FromKVP(const char* data, unsigned int length, bool numericKeysAsStrings,
               bool valuesAsStrings, bool splitKeys);
  template <class T, detail::IfView<T> = 0>
  bool FromKVP(T text, bool numericKeysAsStrings, bool valuesAsStrings, bool splitKeys) {
    const unsigned int length = detail::lengthOf(text);
    if (length < text.size()) {
      return FromKVP(std::string(text), numericKeysAsStrings, valuesAsStrings, splitKeys);
    }
    return FromKVP(text.data(), length, numericKeysAsStrings, valuesAsStrings, splitKeys);
  }
  /// False also when the file cannot be read, with the value null.
  bool FromKVPFile(const std::string& path, bool numericKeysAsStrings, bool valuesAsStrings,
                   bool splitKeys);
  /// @}

  // --- AMF ---------------------------------------------------------------------------------------
  /// @name AMF
  /// Adobe's Action Message Format, written only: AMF0, in which buffers are AMF3 byte arrays.
  /// Every number becomes a double; a map becomes a strict array (its keys are not written) when it
  /// is flagged as one and has no string keys, otherwise an object, whose string keys come first.
  /// Type names are not written. A failed write returns 0 (or false); what did not fit is logged as
  /// for BIN.
  /// @{

  /// The exact encoded size in bytes; 0 when the tree cannot be encoded: at level 3 "Byte array too
  /// big for AMF" (2^28 bytes), "Key too long for AMF" (65,536 bytes), "Encoding needs %llu bytes,
  /// which is 4 GiB or more", and silently for a value of an unknown type.
  std::uint32_t GetAMFRequiredLength() const;
  /// Encodes into `length` bytes; the number written, or 0. A value of an unknown type is logged at
  /// level 3: "variant type not supported by AMF serializer: %s Ignoring it".
  std::uint32_t ToInternalAMF(std::uint8_t* buffer, std::uint32_t length) const;
  /// When `length` is below the required length: sets `length` to it and returns 0, without
  /// touching `buffer`. Otherwise encodes and returns the number of bytes written.
  std::uint32_t ToAMF(std::uint8_t* buffer, std::uint32_t& length) const;
  /// Appends the encoding; the number of bytes, or 0.
  std::uint32_t ToAMF(vexo::utils::IOBuffer& output) const;
  /// Replaces the content of a file as a whole. False when it cannot be written, or when the value
  /// cannot be encoded ("Unable to determine the size of the needed buffer", level 3).
  bool ToAMFFile(const std::string& path) const;
  /// There is no AMF reader: logs "Function %s not yet implemented" at level 4, changes nothing and
  /// returns 0.
  std::uint32_t FromAMF(const std::uint8_t* buffer, std::uint32_t length);
  /// Always false; the file is read, and handed to FromAMF.
  bool FromAMFFile(const std::string& path);
  /// @}

  // --- TOML --------------------------------------------------------------------------------------
  /// @name TOML
  /// TOML 1.1.0, read only. Tables become maps, arrays become arrays, numbers are compacted,
  /// date-times become timestamps (UTC where there is no offset), dates and times alone stay text.
  /// A key that is given twice takes its last value, a table that is opened twice goes on. See
  /// docs/toml.md.
  /// @{

  /// Replaces the value by the document. False, with the value null and a message at level 3, when
  /// the text is not TOML ("Failed to parse TOML data"), or when it uses one key for a table or an
  /// array and for something else ("TOML data is not valid", after a message that names the key).
  /// Such a key must be resolvable as a key chain: one with slashes or brackets, or an empty one,
  /// names no new table. `data` and `text` may lie inside the value itself.
  bool FromTOML(const std::string& text);
  /// The same.
  bool FromTOML(const char* data, unsigned int length);
  template <class T, detail::IfView<T> = 0>
  bool FromTOML(T text) {
    return FromTOML(std::string(text));
  }
  /// The same for a file; also false when it cannot be read ("Failed to parse TOML file").
  bool FromTOMLFile(const std::string& path);
  /// @}

 private:
  // The subscripts, which take views as they are.
  Variant& memberNamed(std::string_view key);
  const Variant& memberNamed(std::string_view key) const;

  friend struct VariantAccess;  // the library's own view of type and payload

  union Payload {
    std::uint64_t bits;
    bool flag;
    double number;
    timeval* timestamp;
    std::string* string;
    VariantBuffer* buffer;
    VariantMap* map;
  };

  std::uint32_t type_;
  alignas(8) Payload payload_;
};

/// The record of a V_MAP or V_TYPED_MAP.
struct VariantMap {
  std::uint8_t isArray = 0;    ///< the array flag
  std::string typeName;        ///< empty in a V_MAP
  NumericMembers numericKeys;  ///< the members with integer keys
  StringMembers stringKeys;    ///< the members with string keys
};

/// The record of a V_BINARY. Copying the record copies no bytes: only values own any.
struct VariantBuffer {
  std::uint8_t external = 0;     ///< the bytes belong to the caller
  std::uint8_t* data = nullptr;  ///< the bytes; may be null when there are none
  std::uint32_t size = 0;        ///< their number
};

/// A base for record classes: a value that starts as an empty map, with a hook for the class's own
/// checks, which the library never calls. Adds no fields.
class VEXO_VARIANT_API BaseVariantContainer : public Variant {
 public:
  /// An empty map.
  BaseVariantContainer();
  ///@{
  /// What a Variant does; the value need not be a map.
  BaseVariantContainer(const Variant& other);
  BaseVariantContainer(Variant&& other) noexcept;
  BaseVariantContainer(const BaseVariantContainer&) = default;
  BaseVariantContainer(BaseVariantContainer&&) noexcept = default;
  BaseVariantContainer& operator=(const Variant& other);
  BaseVariantContainer& operator=(Variant&& other) noexcept;
  BaseVariantContainer& operator=(const BaseVariantContainer&) = default;
  BaseVariantContainer& operator=(BaseVariantContainer&&) noexcept = default;
  ///@}
  ~BaseVariantContainer() override;
  /// Does nothing here.
  virtual void NormalizeFields();
};

// C++20 turns `5 == v` into `v == 5` by itself, but newer compilers not where the class has a `!=`
// too; then conversions of `v` would compare, for a string its address.
///@{
/// The comparison of the class, with the value on the right.
template <class T, class V, detail::IfVariant<V> = 0, detail::IfComparable<T> = 0>
bool operator==(const T& value, const V& variant) noexcept {
  return variant.Variant::operator==(value);
}
template <class T, class V, detail::IfVariant<V> = 0, detail::IfComparable<T> = 0>
bool operator!=(const T& value, const V& variant) noexcept {
  return !variant.Variant::operator==(value);
}
template <class T, class V, detail::IfVariant<V> = 0, detail::IfStrangePointer<T> = 0>
bool operator==(T*, const V&) = delete;
template <class T, class V, detail::IfVariant<V> = 0, detail::IfStrangePointer<T> = 0>
bool operator!=(T*, const V&) = delete;
///@}

/// Writes the 1 to 8 bytes of the BIN form of `value` (below 2^56), for which there must be room
/// for 8, and returns their number; on a
/// null pointer or a larger value logs "Invalid parameters supplied" at level 3 and returns 0.
VEXO_VARIANT_API std::uint32_t ToU56(std::uint64_t value, std::uint8_t* destination);
/// Reads one U56 from at most `length` bytes and returns its width. Returns 0 when it does not end
/// in time, and, having logged "Invalid parameters supplied" at level 3, when there is no byte;
/// `result` is unspecified then.
VEXO_VARIANT_API std::uint32_t FromU56(const std::uint8_t* buffer, std::uint32_t length,
                                       std::uint64_t& result);

/// Writes the 1 to 4 bytes of AMF3's U29 form of `value` and returns their number. Returns 0 and
/// logs at level 3 "Invalid size for Adobe U29 format" for 2^29 and above, "Limit exceeded: C: %u;
/// V: %u; M: %u" when `length` is too small. A one-byte form is traced at level 7.
VEXO_VARIANT_API std::uint32_t WriteAdobeU29(std::uint8_t* buffer, std::uint32_t length,
                                             std::uint32_t value);

/// Reads one JSON value, after a gap, into `target`, adding to what it holds: a scalar replaces it,
/// null leaves it, an array appends to a map, an object merges into a map. Returns the number of
/// bytes up to the end of the value, or -1. Numbers are not compacted. `data` must not lie in
/// `target`.
VEXO_VARIANT_API int readJson(const char* data, unsigned int length, Variant& target);
/// The same for an object whose opening brace is the first byte.
VEXO_VARIANT_API int readJsonObject(const char* data, unsigned int length, Variant& target);

}  // namespace vexo::variant

#endif

// Constructors, destructor, Free and Copy.
#include <new>

#include "log_area.h"
#include "tree_walk.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_constructor_destructor"};

Held holdBytes(std::uint8_t* data, std::uint32_t size, bool external) {
  if (!external) {
    auto buffer = newBuffer(size);
    if (size > 0) std::memcpy(buffer->data, data, size);
    return holdRecord(buffer.release());
  }
  return holdRecord(new VariantBuffer{1, data, size});
}

/// Copies always own their bytes, and have an array even where there is not one byte.
Held copyBytes(const VariantBuffer& source) {
  auto buffer = std::make_unique<VariantBuffer>();
  buffer->data = new std::uint8_t[source.size];
  buffer->size = source.size;
  if (source.size > 0) std::memcpy(buffer->data, source.data, source.size);
  return holdRecord(buffer.release());
}

/// A copy of anything but a map.
Held copyLeaf(const Variant& source) {
  const Payload& payload = payloadOf(source);
  if (!isHeapType(typeOf(source))) return {typeOf(source), payload};
  switch (typeOf(source)) {
    case V_TIMESTAMP:
      return holdRecord(new timeval(*payload.timestamp));
    case V_STRING:
      return holdRecord(new std::string(*payload.string));
    case V_BINARY:
      return copyBytes(*payload.buffer);
    default:
      kLog.violation("Copy", "Invalid state");
  }
}

/// Builds the copy beside the walk over the source: `target_` is the value that gets the next copy.
class Copier : public TreeVisitor<const Variant> {
 public:
  struct Mark {
    VariantMap* copy;
  };

  explicit Copier(Variant& target) : target_(&target) {}

  bool leaf(const Variant& source) {
    put(*target_, copyLeaf(source));
    return true;
  }
  bool enter(const Variant& source, const VariantMap& map, Mark& mark) {
    auto copy = std::make_unique<VariantMap>();
    copy->isArray = map.isArray;
    copy->typeName = map.typeName;
    copy->numericKeys.reserve(map.numericKeys.size());
    copy->stringKeys.reserve(map.stringKeys.size());
    mark.copy = copy.get();
    put(*target_, holdRecord(static_cast<VariantType>(typeOf(source)), copy.release()));
    return true;
  }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    target_ = &mark.copy->numericKeys.append(key);
    return true;
  }
  bool stringMember(Mark& mark, const std::string& key, const Variant&) {
    target_ = &mark.copy->stringKeys.append(key);
    return true;
  }

 private:
  Variant* target_;
};

/// Releases the record of anything but a map; null is none.
void releaseLeaf(std::uint32_t type, const Payload& payload) {
  switch (type) {
    case V_TIMESTAMP:
      delete payload.timestamp;
      break;
    case V_STRING:
      delete payload.string;
      break;
    case V_BINARY:
      deleteBuffer(payload.buffer);
      break;
    default:
      kLog.violation("Free", "Invalid state");
  }
}

/// Maps on their way out, chained through their own records, so that releasing a tree of any depth
/// needs neither stack nor memory.
class DoomedMaps {
 public:
  void releaseTree(VariantMap* root) noexcept {
    add(root);
    while (VariantMap* const map = first_) {
      first_ = std::launder(reinterpret_cast<Link*>(&map->typeName))->next;
      const auto dispose = [this](Variant& value) {
        const std::uint32_t type = typeOf(value);
        if (!isHeapType(type)) return;
        if (isMapType(type)) {
          add(payloadOf(value).map);
        } else {
          releaseLeaf(type, payloadOf(value));
        }
      };
      map->stringKeys.clear(dispose);
      map->numericKeys.clear(dispose);
      std::destroy_at(&map->stringKeys);
      std::destroy_at(&map->numericKeys);
      ::operator delete(map);
    }
  }

 private:
  struct Link {
    VariantMap* next;
  };
  static_assert(sizeof(Link) <= sizeof(std::string) && alignof(Link) <= alignof(std::string));

  void add(VariantMap* map) noexcept {
    if (map == nullptr) return;
    std::destroy_at(&map->typeName);
    ::new (static_cast<void*>(&map->typeName)) Link{first_};
    first_ = map;
  }

  VariantMap* first_ = nullptr;
};

}  // namespace

std::unique_ptr<VariantBuffer> newBuffer(std::uint32_t size) {
  auto buffer = std::make_unique<VariantBuffer>();
  if (size > 0) buffer->data = new std::uint8_t[size];
  buffer->size = size;
  return buffer;
}

void deleteBuffer(VariantBuffer* buffer) noexcept {
  if (buffer == nullptr) return;
  if (buffer->external == 0) delete[] buffer->data;
  delete buffer;
}

Variant::Variant() noexcept : type_(V_NULL), payload_{0} {}
Variant::Variant(bool value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::int8_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::int16_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::int32_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::int64_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::uint8_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::uint16_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::uint32_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(std::uint64_t value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(double value) noexcept : Variant() { put(*this, hold(value)); }
Variant::Variant(const timeval& value) : Variant() { put(*this, holdRecord(new timeval(value))); }
Variant::Variant(const char* value) : Variant() { put(*this, holdRecord(new std::string(value))); }
Variant::Variant(const std::string& value) : Variant() {
  put(*this, holdRecord(new std::string(value)));
}
Variant::Variant(std::uint8_t* data, std::uint32_t size, bool external) : Variant() {
  put(*this, holdBytes(data, size, external));
}
Variant::Variant(const Variant& other) : Variant() { Copy(other); }
Variant::Variant(Variant&& other) noexcept : Variant() { put(*this, take(other)); }

Variant::~Variant() {
  if (isHeapType(type_)) Free();
}

void Variant::Free() {
  if (isMapType(type_)) {
    DoomedMaps().releaseTree(payload_.map);
  } else if (isHeapType(type_)) {
    releaseLeaf(type_, payload_);
  }
  put(*this, Held{});
}

void Variant::Copy(const Variant& other) {
  if (!isMap(other)) {
    put(*this, copyLeaf(other));
    return;
  }
  Variant copy;  // releases what there is of it should memory run out
  Copier copier(copy);
  walkTree(other, copier);
  put(*this, take(copy));
}

}  // namespace vexo::variant

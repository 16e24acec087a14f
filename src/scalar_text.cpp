#include "scalar_text.h"

#include <limits>

#include "number_text.h"
#include "vexo_utils/base64.h"
#include "vexo_utils/time.h"

namespace vexo::variant {

namespace {

/// The buffer that a text with kBinaryMarker stands for, or null when the rest is not base64.
[[gnu::noinline]] std::unique_ptr<VariantBuffer> decodeMarked(std::string_view text) {
  const std::string_view base64 = text.substr(kBinaryMarker.size());
  auto buffer = decodeBase64(base64);
  if (wasBase64(base64, *buffer)) return buffer;
  deleteBuffer(buffer.release());
  return nullptr;
}

}  // namespace

std::unique_ptr<VariantBuffer> decodeBase64(std::string_view text) {
  if (text.empty() || text.size() > std::numeric_limits<std::uint32_t>::max()) return newBuffer(0);
  const auto length = static_cast<std::uint32_t>(text.size());
  auto buffer = newBuffer(length / 4 * 3);
  unsigned int room = buffer->size;
  buffer->size = vexo::utils::unb64(reinterpret_cast<const unsigned char*>(text.data()), length,
                                    buffer->data, room);
  return buffer;
}

bool appendBase64(const VariantBuffer& buffer, TextSink& output) {
  if (buffer.size == 0) return true;
  const std::uint64_t encoded = (std::uint64_t{buffer.size} + 2) / 3 * 4;
  if (encoded > std::numeric_limits<unsigned int>::max()) return false;
  auto length = static_cast<unsigned int>(encoded);
  char* const place = output.room(length);
  const unsigned int written =
      vexo::utils::b64(buffer.data, buffer.size, reinterpret_cast<unsigned char*>(place), length);
  const bool done = written == length && written <= encoded;
  if (done) output.advanceTo(place + written);
  return done;
}

bool appendScalarText(const Variant& value, TextSink& output) {
  const std::uint32_t type = typeOf(value);
  const Payload& payload = payloadOf(value);
  if (isNumericType(type)) {
    const std::size_t room = type == V_DOUBLE ? kNumberTextRoom : kIntegerTextRoom;
    output.advanceTo(writeNumber(value, output.room(room)));
    return true;
  }
  switch (type) {
    case V_NULL:
      output.putLiteral("null");
      return true;
    case V_BOOL:
      if (integerBits(value) != 0) {
        output.putLiteral("true");
      } else {
        output.putLiteral("false");
      }
      return true;
    case V_TIMESTAMP:
      output.put(vexo::utils::timevalToString(payload.timestamp));
      return true;
    case V_STRING:
      output.put(*payload.string);
      return true;
    case V_BINARY:
      output.put(kBinaryMarker);
      return appendBase64(*payload.buffer, output);
    default:
      return true;
  }
}

Held holdMarkedText(std::string_view text) {
  if (text.size() % 4 == 0 && text.substr(0, kBinaryMarker.size()) == kBinaryMarker) {
    if (auto buffer = decodeMarked(text)) return holdRecord(buffer.release());
  }
  timeval time{};
  if (text.size() <= std::numeric_limits<unsigned int>::max() &&
      vexo::utils::stringToTimeval(text.data(), static_cast<unsigned int>(text.size()), &time)) {
    return holdRecord(new timeval(time));
  }
  return holdText(text);
}

}  // namespace vexo::variant

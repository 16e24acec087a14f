#include "json_writer.h"

#include <algorithm>
#include <cstdint>

#include "json_escapes.h"
#include "log_area.h"
#include "number_text.h"
#include "scalar_text.h"
#include "swar.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_json"};

/// Writes a byte, escaped where it has to be. Returns the end.
char* putByte(char c, char* out) {
  const char letter = json::escapeLetter(c);
  if (letter != 0) *out++ = '\\';
  *out = letter != 0 ? letter : c;
  return out + 1;
}

using swar::Chunk;

/// Marks the bytes that may need an escape, zero bytes among them.
Chunk::Marks marksOfEscapes(const Chunk& bytes) { return bytes.marksOfControlsOr('"', '/', '\\'); }

constexpr std::size_t kMostEscaped = 2;  // bytes for one
constexpr std::size_t kPart = 4096;      // so that a long text is not given room for twice its size

/// Copies a text with its escapes, a chunk at a time where there are none. There must be room for
/// kMostEscaped bytes for each byte, and for a chunk more. Returns the end.
[[gnu::always_inline]] inline char* copyEscaped(std::string_view text, char* out) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (static_cast<std::size_t>(end - at) >= Chunk::kSize) {
    const Chunk bytes(at);
    bytes.store(out);
    const Chunk::Marks marks = marksOfEscapes(bytes);
    const std::size_t plain = marks == 0 ? Chunk::kSize : Chunk::first(marks);
    at += plain;
    out += plain;
    if (marks != 0) out = putByte(*at++, out);
  }
  while (at != end) {
    const Chunk bytes = Chunk::part(at, static_cast<std::size_t>(end - at));
    bytes.store(out);
    const std::size_t plain = Chunk::first(marksOfEscapes(bytes));  // the zero bytes end it
    at += plain;
    out += plain;
    if (at != end) out = putByte(*at++, out);
  }
  return out;
}

}  // namespace

void JsonWriter::indent() {
  const std::uint64_t spaces = std::uint64_t{depth_} * 4;
  output_.fill(static_cast<std::size_t>(std::min<std::uint64_t>(spaces, SIZE_MAX)), ' ');
}

void JsonWriter::beforeName(const Variant& value) {
  if (layout_.pretty) indentName(value);
}

void JsonWriter::indentName(const Variant& value) {
  indent();
  if (!layout_.withTypes || isMap(value)) return;
  output_.put('(');
  output_.put(Variant::VariantTypeToString(value));
  output_.put(") ");
}

void JsonWriter::afterName() {
  output_.put(':');
  if (layout_.pretty) output_.put(' ');
}

void JsonWriter::prefix(const Variant& value, std::string_view name) {
  beforeName(value);
  if (name.empty()) return;
  output_.put(name);
  afterName();
}

bool JsonWriter::leaf(const Variant& value) {
  const std::uint32_t type = typeOf(value);
  if (isInteger(type) || type == V_DOUBLE) return appendScalarText(value, output_);
  switch (type) {
    case V_STRING:
      quoted(*payloadOf(value).string);
      return true;
    case V_BINARY:
      return binary(*payloadOf(value).buffer);
    case V_TYPED_MAP:
      output_.put("\"V_TYPED_MAP is not supported by JSON\"");
      return true;
    case V_TIMESTAMP: {
      output_.put('"');
      appendScalarText(value, output_);
      output_.put('"');
      return true;
    }
    default:
      if (findType(type) == nullptr) {
        kLog.violation("ToJSON", "Invalid type %d", static_cast<int>(type));
      }
      return appendScalarText(value, output_);
  }
}

bool JsonWriter::binary(const VariantBuffer& buffer) {
  output_.put('"');
  output_.put(kBinaryMarker);
  if (!appendBase64(buffer, output_)) return false;
  output_.put('"');
  return true;
}

bool JsonWriter::enter(const Variant&, const VariantMap& map, Mark& mark) {
  mark = {map.isArray != 0 && map.stringKeys.empty(), true};
  output_.put(mark.isArray ? '[' : '{');
  ++depth_;
  return true;
}

bool JsonWriter::leave(Mark& mark, const VariantMap&) {
  --depth_;
  if (layout_.pretty) {
    output_.put('\n');
    indent();
  }
  output_.put(mark.isArray ? ']' : '}');
  return true;
}

void JsonWriter::separate(Mark& mark) {
  if (!mark.isFirst) output_.put(',');
  mark.isFirst = false;
  if (layout_.pretty) output_.put('\n');
}

bool JsonWriter::numericMember(Mark& mark, std::int64_t key, const Variant& value) {
  separate(mark);
  beforeName(value);
  if (mark.isArray) return true;
  output_.put('"');
  output_.advanceTo(writeInteger(key, output_.room(kIntegerTextRoom)));
  output_.put('"');
  afterName();
  return true;
}

bool JsonWriter::stringMember(Mark& mark, const std::string& key, const Variant& value) {
  separate(mark);
  beforeName(value);
  quoted(key);
  afterName();
  return true;
}

void JsonWriter::quoted(std::string_view text) {
  if (layout_.withTypes || text.size() > kPart) [[unlikely]]
    return quotedUncommon(text);
  char* out = output_.room(kMostEscaped * text.size() + Chunk::kSize + 2);
  *out++ = '"';
  out = copyEscaped(text, out);
  *out++ = '"';
  output_.advanceTo(out);
}

[[gnu::noinline]] void JsonWriter::quotedUncommon(std::string_view text) {
  output_.put('"');
  if (layout_.withTypes) {
    output_.put(text);
    text = {};
  }
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), kPart))) {
    const std::string_view part = text.substr(0, kPart);
    char* const out = output_.room(kMostEscaped * part.size() + Chunk::kSize);
    output_.advanceTo(copyEscaped(part, out));
  }
  output_.put('"');
}

}  // namespace vexo::variant

#include "json_writer.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "log_area.h"
#include "number_text.h"
#include "scalar_text.h"
#include "swar.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_json"};

/// For each byte the letter of its escape, or 0.
constexpr std::array<char, 256> kEscapes = [] {
  std::array<char, 256> table{};
  table['\b'] = 'b';
  table['\t'] = 't';
  table['\n'] = 'n';
  table['\f'] = 'f';
  table['\r'] = 'r';
  table['"'] = '"';
  table['/'] = '/';
  table['\\'] = '\\';
  return table;
}();

constexpr char escapeOf(char c) { return kEscapes[static_cast<unsigned char>(c)]; }

using swar::Chunk;

/// Marks the bytes that may need an escape.
Chunk::Marks marksOfEscapes(const Chunk& bytes) {
  return bytes.marksOfControls() | bytes.marksOf('"') | bytes.marksOf('/') | bytes.marksOf('\\');
}

constexpr std::size_t kMostEscaped = 2;  // bytes for one

/// Copies a text with its escapes, a chunk at a time where there are none. There must be room for
/// kMostEscaped bytes for each byte, and for a chunk more. Returns the end.
char* copyEscaped(std::string_view text, char* out) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    const std::size_t count = std::min(static_cast<std::size_t>(end - at), Chunk::kSize);
    const Chunk bytes = count == Chunk::kSize ? Chunk(at) : Chunk::part(at, count);
    const Chunk::Marks marks = marksOfEscapes(bytes);
    // In a part the zero bytes behind the text are marked; no mark at all has no first.
    const std::size_t plain = std::min(marks == 0 ? count : Chunk::first(marks), count);
    bytes.store(out);
    at += plain;
    out += plain;
    if (plain == count) continue;
    const char letter = escapeOf(*at);
    if (letter != 0) *out++ = '\\';
    *out++ = letter != 0 ? letter : *at;
    ++at;
  }
  return out;
}

}  // namespace

void JsonWriter::indent() {
  const std::uint64_t spaces = std::uint64_t{depth_} * 4;
  output_.fill(static_cast<std::size_t>(std::min<std::uint64_t>(spaces, SIZE_MAX)), ' ');
}

void JsonWriter::beforeName(const Variant& value) {
  if (!layout_.pretty) return;
  indent();
  if (!layout_.withTypes || isMap(value)) return;
  output_.put('(');
  output_.put(Variant::VariantTypeToString(static_cast<VariantType>(typeOf(value))));
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
  if (layout_.withTypes) {
    output_.put('"');
    output_.put(text);
    output_.put('"');
  } else {
    escaped(text);
  }
}

void JsonWriter::escaped(std::string_view text) {
  constexpr std::size_t kPart = 4096;  // so that a long text is not given room for twice its size
  bool isFirst = true;
  do {
    const std::string_view part = text.substr(0, kPart);
    text.remove_prefix(part.size());
    char* out = output_.room(kMostEscaped * part.size() + Chunk::kSize + 2);
    if (isFirst) *out++ = '"';
    isFirst = false;
    out = copyEscaped(part, out);
    if (text.empty()) *out++ = '"';
    output_.advanceTo(out);
  } while (!text.empty());
}

}  // namespace vexo::variant

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

/// How many bytes come before the first that needs an escape.
std::size_t plainPrefix(std::string_view text) {
  std::size_t at = 0;
  for (; text.size() - at >= sizeof(std::uint64_t); at += sizeof(std::uint64_t)) {
    const std::uint64_t bytes = swar::load(text.data() + at);
    if (swar::hasControl(bytes) || swar::has(bytes, '"') || swar::has(bytes, '/') ||
        swar::has(bytes, '\\')) {
      break;
    }
  }
  while (at < text.size() && escapeOf(text[at]) == 0) ++at;
  return at;
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

void JsonWriter::afterName() { output_.put(layout_.pretty ? ": " : ":"); }

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
  NumberBuffer buffer;
  output_.put('"');
  output_.put(integerText(key, buffer));
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
  output_.put('"');
  if (layout_.withTypes) {
    output_.put(text);
  } else {
    escaped(text);
  }
  output_.put('"');
}

void JsonWriter::escaped(std::string_view text) {
  while (!text.empty()) {
    const std::size_t plain = plainPrefix(text);
    output_.put(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return;
    output_.put('\\');
    output_.put(escapeOf(text.front()));
    text.remove_prefix(1);
  }
}

}  // namespace vexo::variant

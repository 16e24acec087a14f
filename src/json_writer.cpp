#include "json_writer.h"

#include <array>

#include "log_area.h"
#include "number_text.h"
#include "scalar_text.h"

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

}  // namespace

void JsonWriter::beforeName(const Variant& value) {
  if (!layout_.pretty) return;
  indent();
  if (!layout_.withTypes || isMap(value)) return;
  output_ += '(';
  output_ += Variant::VariantTypeToString(static_cast<VariantType>(typeOf(value)));
  output_ += ") ";
}

void JsonWriter::afterName() { output_ += layout_.pretty ? ": " : ":"; }

void JsonWriter::prefix(const Variant& value, std::string_view name) {
  beforeName(value);
  if (name.empty()) return;
  output_ += name;
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
      output_ += "\"V_TYPED_MAP is not supported by JSON\"";
      return true;
    case V_TIMESTAMP: {
      output_ += '"';
      appendScalarText(value, output_);
      output_ += '"';
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
  output_ += '"';
  output_ += kBinaryMarker;
  if (!appendBase64(buffer, output_)) return false;
  output_ += '"';
  return true;
}

bool JsonWriter::enter(const Variant&, const VariantMap& map, Mark& mark) {
  mark = {map.isArray != 0 && map.stringKeys.empty(), true};
  output_ += mark.isArray ? '[' : '{';
  ++depth_;
  return true;
}

void JsonWriter::leave(Mark& mark, const VariantMap&) {
  --depth_;
  if (layout_.pretty) {
    output_ += '\n';
    indent();
  }
  output_ += mark.isArray ? ']' : '}';
}

void JsonWriter::separate(Mark& mark) {
  if (!mark.isFirst) output_ += ',';
  mark.isFirst = false;
  if (layout_.pretty) output_ += '\n';
}

bool JsonWriter::numericMember(Mark& mark, std::int64_t key, const Variant& value) {
  separate(mark);
  beforeName(value);
  if (mark.isArray) return true;
  NumberBuffer buffer;
  output_ += '"';
  output_ += integerText(key, buffer);
  output_ += '"';
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
  output_ += '"';
  if (layout_.withTypes) {
    output_ += text;
  } else {
    escaped(text);
  }
  output_ += '"';
}

void JsonWriter::escaped(std::string_view text) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char letter = escapeOf(text[i]);
    if (letter == 0) continue;
    output_ += text.substr(begin, i - begin);
    output_ += '\\';
    output_ += letter;
    begin = i + 1;
  }
  output_ += text.substr(begin);
}

}  // namespace vexo::variant

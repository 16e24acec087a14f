// JSON, both directions.
#include <limits>

#include "json_cursor.h"
#include "json_reader.h"
#include "json_writer.h"
#include "variant_access.h"
#include "vexo_utils/file.h"
#include "vexo_variant/text_error.h"

namespace vexo::variant {

namespace {

constexpr std::size_t kMaxLength = std::numeric_limits<std::int32_t>::max();

/// Replaces the value by what the text holds.
int readText(JsonCursor& cursor, Variant& target) {
  JsonReader reader(cursor, target);
  const Variant old(std::move(target));  // the text may be a part of it
  return reader.readText() ? static_cast<int>(cursor.position()) : -1;
}

}  // namespace

bool Variant::ToJSON(const std::string& key, std::string& output, bool pretty, bool withTypes,
                     unsigned int depth) const {
  JsonWriter writer({pretty, withTypes}, depth);
  writer.prefix(*this, key);
  const bool done = walkTree(*this, writer);
  writer.text().appendTo(output);
  return done;
}

bool Variant::ToJSON(std::string& output, bool pretty) const {
  output.clear();
  return ToJSON(std::string(), output, pretty, false, 0);
}

bool Variant::ToJSONFile(const std::string& path, bool pretty) const {
  vexo::utils::File file;
  if (!file.Initialize(path, vexo::utils::FILE_OPEN_MODE_WRITE, 0)) return false;
  std::string text;
  return ToJSON(text, pretty) && file.WriteString(text);
}

int Variant::FromJSON(const char* data, unsigned int length) {
  if (length > kMaxLength) return -1;
  JsonCursor cursor(data, length);
  return readText(cursor, *this);
}

int Variant::FromJSON(const std::string& text) {
  if (text.size() > kMaxLength) return -1;
  return FromJSON(text.data(), static_cast<unsigned int>(text.size()));
}

bool Variant::FromJSONFile(const std::string& path) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be a part of this value
  const std::string name = path;
  Reset();
  vexo::utils::File file;
  std::string text;
  if (!file.Initialize(name, vexo::utils::FILE_OPEN_MODE_READ, 0)) return false;
  return file.ReadStringAll(text) && FromJSON(text) >= 0;
}

int readJson(const char* data, unsigned int length, Variant& target) {
  if (length > kMaxLength) return -1;
  JsonCursor cursor(data, length);
  return JsonReader(cursor, target).readValue() ? static_cast<int>(cursor.position()) : -1;
}

int readJsonObject(const char* data, unsigned int length, Variant& target) {
  if (length < 2 || data[0] != '{') return -1;
  return readJson(data, length, target);
}

int readJsonText(const char* data, unsigned int length, Variant& target, TextError& error) {
  if (length > kMaxLength) {
    error = {{}, "expected a text of less than 2 GiB"};
    return -1;
  }
  JsonCursor cursor(data, length);
  const int result = readText(cursor, target);
  if (result < 0) error = {locateText(data, length, cursor.errorOffset()), cursor.reason()};
  return result;
}

}  // namespace vexo::variant

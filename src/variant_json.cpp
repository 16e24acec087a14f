// JSON, both directions.
#include <limits>

#include "json_builders.h"
#include "json_parser.h"
#include "json_writer.h"
#include "text_cursor.h"
#include "variant_access.h"
#include "vexo_utils/file.h"
#include "vexo_variant/text_error.h"

namespace vexo::variant {

namespace {

constexpr std::size_t kMaxLength = std::numeric_limits<std::int32_t>::max();

/// Reads one value, and the gap behind it if so told.
template <class Builder>
bool readWith(Builder& builder, TextCursor& cursor, bool withGap) {
  TextCursor::Scratch scratch;
  JsonParser<Builder> parser(cursor, builder, scratch);
  const bool done = parser.parse(withGap);
  cursor = parser.cursor();
  return done;
}

/// The fast way, which fails without a trace: `target` must be null.
[[gnu::flatten]] bool readGathering(TextCursor& cursor, Variant& target, bool wholeText) {
  GatheringJsonBuilder builder(wholeText);
  if (!readWith(builder, cursor, wholeText)) return false;
  put(target, builder.take());
  return true;
}

bool readDirectly(TextCursor& cursor, Variant& target, bool wholeText) {
  DirectJsonBuilder builder(target);
  if (!readWith(builder, cursor, wholeText)) return false;
  if (wholeText) target.Compact();
  return true;
}

/// A whole text is followed by a gap and becomes compact. `cursor` tells how far the reading came.
int read(TextCursor& cursor, Variant& target, bool wholeText) {
  TextCursor ahead = cursor;
  if (target == V_NULL && readGathering(ahead, target, wholeText)) {
    cursor = ahead;
  } else if (!readDirectly(cursor, target, wholeText)) {
    return -1;
  }
  return static_cast<int>(cursor.position());
}

/// Replaces the value by what the text holds.
int readText(TextCursor& cursor, Variant& target) {
  const Variant old(std::move(target));  // the text may be a part of it
  return read(cursor, target, true);
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
  TextCursor cursor(data, length);
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
  TextCursor cursor(data, length);
  return read(cursor, target, false);
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
  TextCursor cursor(data, length);
  const int result = readText(cursor, target);
  if (result < 0) error = {locateText(data, length, cursor.errorOffset()), cursor.reason()};
  return result;
}

}  // namespace vexo::variant

// A tree as JSON text.
#ifndef VEXO_VARIANT_SRC_JSON_WRITER_H
#define VEXO_VARIANT_SRC_JSON_WRITER_H

#include <string>
#include <string_view>

#include "text_sink.h"
#include "tree_walk.h"
#include "variant_access.h"

namespace vexo::variant {

struct JsonLayout {
  bool pretty;
  bool withTypes;  ///< type names before scalars (when pretty), strings as they are
};

class JsonWriter : public TreeVisitor<const Variant> {
 public:
  struct Mark {
    bool isArray;
    bool isFirst;
  };

  JsonWriter(JsonLayout layout, unsigned int depth) : layout_(layout), depth_(depth) {}

  const TextSink& text() const { return output_; }

  /// The prefix of the next value: indentation, type, and a name that is already quoted (or empty).
  void prefix(const Variant& value, std::string_view name);

  static bool isInner(const Variant& value) { return typeOf(value) == V_MAP; }
  bool leaf(const Variant& value);
  bool enter(const Variant& value, const VariantMap& map, Mark& mark);
  bool numericMember(Mark& mark, std::int64_t key, const Variant& value);
  bool stringMember(Mark& mark, const std::string& key, const Variant& value);
  bool leave(Mark& mark, const VariantMap& map);

 private:
  void separate(Mark& mark);
  void beforeName(const Variant& value);
  void indentName(const Variant& value);
  void afterName();
  void indent();
  void quoted(std::string_view text);
  void quotedUncommon(std::string_view text);
  bool binary(const VariantBuffer& buffer);

  TextSink output_;
  const JsonLayout layout_;
  std::size_t depth_;
};

}  // namespace vexo::variant

#endif

// TOML, read only: the visitor that builds a tree from the walk over a document.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "compaction.h"
#include "log_area.h"
#include "variant_access.h"
#include "vexo_parsers/toml.h"

namespace vexo::variant {

namespace {

namespace toml = vexo::parsers::toml;

constexpr LogArea kLog{"src/variant_toml"};

enum class FrameKind : std::uint32_t {
  kDocument = 1,
  kKeyValue = 2,
  kKey = 3,
  kArray = 5,
  kInlineTable = 6,
  kTableHeader = 7,
  kTable = 8,
  kArrayTableHeader = 9,
  kArrayTableElement = 10,
};

/// A construct that is being visited.
struct BuilderFrame {
  FrameKind kind;
  Variant* node;                   ///< what it writes into
  std::optional<std::string> key;  ///< where in it, once a key has been seen
};

/// Members never move, so that the frames may point to them while others are added. A key that
/// cannot be resolved sets `failed`; the walk goes on to its end, and the tree is thrown away.
class TomlVariantBuilder : public toml::ITomlTreeVisitor {
 public:
  bool failed() const { return failed_; }
  Variant& root() { return root_; }

  void enterDocument() override {
    root_.IsArray(false);
    push(FrameKind::kDocument, root_);
  }
  void leaveDocument() override { pop(); }

  void enterKeyValue() override { push(FrameKind::kKeyValue, node()); }
  void leaveKeyValue() override { pop(); }

  void enterStdTable() override { enterHeader(FrameKind::kTableHeader); }
  void leaveStdTable() override {
    const BuilderFrame header = pop();
    Variant* const table = getOrAddTable(*header.node, *header.key);
    push(FrameKind::kTable, orFail(table, *header.node));
  }

  void enterArrayTable() override { enterHeader(FrameKind::kArrayTableHeader); }
  void leaveArrayTable() override {
    const BuilderFrame header = pop();
    Variant* const array = getOrAddArray(*header.node, *header.key);
    push(FrameKind::kArrayTableElement,
         orFail(array != nullptr ? appendMember(*array) : nullptr, *header.node));
  }

  void enterKey() override { push(FrameKind::kKey, node()); }
  void leaveKey() override {
    BuilderFrame key = pop();
    top().node = key.node;
    top().key = std::move(key.key);
  }
  void visitUnquotedKey(const char* text) override { addKeyPart(text); }
  void visitQuotedKey(const char* text) override { addKeyPart(toml::unquote(text)); }

  void enterArray() override { enterContainer(FrameKind::kArray); }
  void leaveArray() override { pop(); }
  void enterInlineTable() override { enterContainer(FrameKind::kInlineTable); }
  void leaveInlineTable() override { pop(); }

  void visitBasicString(const char* text) override { storeText(toml::unquote(text, "\"")); }
  void visitMultilineBasicString(const char* text) override {
    storeText(toml::processMultilineString(text));
  }
  void visitLiteralString(const char* text) override { storeText(toml::unquote(text, "'")); }
  void visitMultilineLiteralString(const char* text) override {
    storeText(toml::processMultilineLiteralString(text));
  }
  void visitInteger(const char* text) override { storeNumber(toml::parseInteger(text)); }
  void visitFloat(const char* text) override { storeNumber(toml::parseFloat(text)); }
  void visitBoolean(const char* text) override { store(hold(toml::parseBoolean(text))); }
  void visitOffsetDateTime(const char* text) override { storeDateTime(text); }
  void visitLocalDateTime(const char* text) override { storeDateTime(text); }
  void visitLocalDate(const char* text) override { storeText(text); }
  void visitLocalTime(const char* text) override { storeText(text); }

 private:
  // --- Frames ---

  BuilderFrame& top() { return frames_.back(); }
  Variant& node() { return *top().node; }
  void push(FrameKind kind, Variant& node) { frames_.push_back({kind, &node, {}}); }
  BuilderFrame pop() {
    BuilderFrame frame = std::move(top());
    frames_.pop_back();
    return frame;
  }

  /// The member found, or, where there is none, what takes its place while the walk goes on.
  Variant& orFail(Variant* found, Variant& instead) {
    failed_ |= found == nullptr;
    return found != nullptr ? *found : instead;
  }

  // --- Keys and tables ---

  /// Every header starts again from the document; the table of the header before is done.
  void enterHeader(FrameKind kind) {
    while (top().kind != FrameKind::kDocument) pop();
    push(kind, node());
  }

  /// All parts of a dotted key but the last one are tables.
  void addKeyPart(std::string part) {
    if (top().key) {
      Variant& parent = node();
      top().node = &orFail(getOrAddTable(parent, *top().key), parent);
    }
    top().key = std::move(part);
  }

  /// The map that a key names as a key chain.
  static Variant* findMap(Variant& node, const std::string& key) {
    return node.GetKeyChain(V_MAP, key, true);
  }

  /// The map that a key names, created when the node has no such key; null when the key names
  /// something else, or does not lead to what was created under it.
  static Variant* findOrAddMap(Variant& node, const std::string& key, bool isArray) {
    Variant* const found = findMap(node, key);
    if (found != nullptr || node.HasKey(key, true)) return found;
    Variant map;
    map.IsArray(isArray);
    memberAt(node, key) = std::move(map);
    return findMap(node, key);
  }

  /// The table that a key names; of an array its last element.
  static Variant* getOrAddTable(Variant& node, const std::string& key) {
    Variant* const found = findOrAddMap(node, key, false);
    if (found == nullptr) return rejectTable(key);
    if (!found->IsArray()) return found;
    NumericMembers& elements = mapOf(*found).numericKeys;
    if (elements.empty()) return appendMember(*found);
    return &std::prev(elements.end())->second;
  }
  static Variant* rejectTable(const std::string& key) {
    kLog.error("getOrAddTable",
               "Invalid toml format. The same key(%s) is used for both value and table",
               key.c_str());
    return nullptr;
  }

  static Variant* getOrAddArray(Variant& node, const std::string& key) {
    Variant* const found = findOrAddMap(node, key, true);
    if (found == nullptr) {
      kLog.error("getOrAddArray",
                 "Invalid toml format. The same key(%s) is used for both value and array",
                 key.c_str());
    }
    return found;
  }

  // --- Values ---

  /// What an array or inline table is built in: a new element, or the table under the key. A
  /// container that already holds a scalar (the last element of an array of the same key) cannot be
  /// one.
  Variant* findContainer() {
    if (top().kind == FrameKind::kArray) return appendMember(node());
    Variant* const found = getOrAddTable(node(), *top().key);
    if (found == nullptr || isMap(*found) || typeOf(*found) == V_NULL) return found;
    return rejectTable(*top().key);
  }

  void enterContainer(FrameKind kind) {
    Variant* const container = findContainer();
    if (container != nullptr) container->IsArray(kind == FrameKind::kArray);
    push(kind, orFail(container, node()));
  }

  /// Numbers are stored as small as they can be, which spares a walk over the whole tree.
  template <class T>
  void storeNumber(T number) {
    store(compacted(hold(number)));
  }
  void storeText(std::string text) { store(holdRecord(new std::string(std::move(text)))); }
  void storeDateTime(const char* text) {
    store(holdRecord(new timeval(toml::parseDateTime(text))));
  }
  void store(const Held& held) {
    Variant value;
    put(value, held);
    if (top().kind != FrameKind::kArray) {
      memberAt(node(), *top().key) = std::move(value);
    } else if (Variant* const element = appendMember(node())) {
      *element = std::move(value);
    }
  }

  bool failed_ = false;
  Variant root_;
  std::vector<BuilderFrame> frames_;
};

/// `input` is a text or a path.
template <class Input>
bool readToml(const Input& input, Variant& target, LogSite site, const char* message) {
  TomlVariantBuilder builder;
  if (!toml::visitTomlTree(input, builder)) {
    kLog.error(site, message);
    return false;
  }
  if (builder.failed()) {
    kLog.error(site, "TOML data is not valid");
    return false;
  }
  target = std::move(builder.root());
  return true;
}

}  // namespace

bool Variant::FromTOML(const std::string& text) {
  const Variant old(std::move(*this));  // the text may be a part of it
  return readToml(text, *this, "FromTOML", "Failed to parse TOML data");
}

bool Variant::FromTOML(const char* data, unsigned int length) {
  return FromTOML(std::string(data, length));
}

bool Variant::FromTOMLFile(const std::string& path) {
  const toml::FilePath file(path);  // a copy: the path may be a part of this value
  Reset();
  return readToml(file, *this, "FromTOMLFile", "Failed to parse TOML file");
}

}  // namespace vexo::variant

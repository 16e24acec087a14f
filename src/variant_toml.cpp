// TOML, read only: the visitor that builds a tree from the walk over a document.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "compaction.h"
#include "log_area.h"
#include "variant_access.h"
#include "vexo_parsers/toml.h"
#include "vexo_variant/text_error.h"

namespace vexo::variant {

namespace {

namespace toml = vexo::parsers::toml;

constexpr LogArea kLog{"src/variant_toml"};

/// What a frame stands for, as far as it decides which calls may come next.
enum class FrameKind {
  kTable,        // the document, or what its last header names
  kHeader,       // of a table
  kArrayHeader,  // of an array of tables
  kKeyValue,
  kKey,
  kValue,  // a key/value pair whose value has begun
  kArray,
  kInlineTable,
};

/// A construct that is being visited.
struct BuilderFrame {
  FrameKind kind;
  Variant* node;                   ///< what it writes into
  std::optional<std::string> key;  ///< where in it, once a key has been seen
};

/// Finds the tokens of a document in its text. They come in order and as they stand there, with
/// nothing but blanks, punctuation and comments between them.
class TokenLocator {
 public:
  explicit TokenLocator(std::string_view text) : text_(text) {}

  /// The offset of the next token; kNoOffset from the first one on that is not where it has to be.
  std::size_t locate(std::string_view token) {
    if (end_ == kNoOffset) return kNoOffset;
    const std::size_t begin = skipGap(end_);
    const bool isThere = text_.substr(begin, token.size()) == token;
    end_ = isThere ? begin + token.size() : kNoOffset;
    return isThere ? begin : kNoOffset;
  }

 private:
  std::size_t skipGap(std::size_t at) const {
    constexpr std::string_view kGap = " \t\r\n=.,[]{}\xEF\xBB\xBF";  // with a byte order mark
    while ((at = std::min(text_.find_first_not_of(kGap, at), text_.size())) < text_.size()) {
      if (text_[at] != '#') break;
      at = std::min(text_.find('\n', at), text_.size());
    }
    return at;
  }

  std::string_view text_;
  std::size_t end_ = 0;  ///< of the token before
};

/// Members never move, so that the frames may point to them while others are added. A key that
/// cannot be resolved sets `failed`; the walk goes on to its end, and the tree is thrown away. The
/// walk may be that of another library: the first call out of order sets `failed` as well, and no
/// call has any effect from there on.
class TomlVariantBuilder : public toml::ITomlTreeVisitor {
 public:
  /// With a locator, conflict() is known.
  explicit TomlVariantBuilder(TokenLocator* locator) : locator_(locator) {}

  /// Whether there is no tree of a whole document.
  bool failed() const { return failed_ || !isMap(root_) || !frames_.empty(); }
  /// The offset of the first key that could not be resolved, or kNoOffset.
  std::size_t conflict() const { return conflict_; }
  Variant& root() { return root_; }

  void enterDocument() override {
    if (!isInOrder(!isMap(root_))) return;
    root_.IsArray(false);
    push(FrameKind::kTable, root_);
  }
  void leaveDocument() override {
    if (isIn(FrameKind::kTable)) frames_.clear();
  }

  void enterKeyValue() override {
    if (isInOrder(at(FrameKind::kTable) || at(FrameKind::kInlineTable))) {
      push(FrameKind::kKeyValue, node());
    }
  }
  void leaveKeyValue() override { leave(FrameKind::kValue); }

  void enterStdTable() override { enterHeader(FrameKind::kHeader); }
  void leaveStdTable() override {
    if (!isInOrder(at(FrameKind::kHeader) && top().key)) return;
    const BuilderFrame header = pop();
    Variant* const table = getOrAddTable(*header.node, *header.key);
    push(FrameKind::kTable, orFail(table, *header.node));
  }

  void enterArrayTable() override { enterHeader(FrameKind::kArrayHeader); }
  void leaveArrayTable() override {
    if (!isInOrder(at(FrameKind::kArrayHeader) && top().key)) return;
    const BuilderFrame header = pop();
    Variant* const array = getOrAddArray(*header.node, *header.key);
    push(FrameKind::kTable,
         orFail(array != nullptr ? appendMember(*array) : nullptr, *header.node));
  }

  void enterKey() override {
    const bool mayHaveKey =
        at(FrameKind::kKeyValue) || at(FrameKind::kHeader) || at(FrameKind::kArrayHeader);
    if (isInOrder(mayHaveKey && !top().key)) push(FrameKind::kKey, node());
  }
  void leaveKey() override {
    if (!isInOrder(at(FrameKind::kKey) && top().key)) return;
    BuilderFrame key = pop();
    top().node = key.node;
    top().key = std::move(key.key);
  }
  void visitUnquotedKey(const char* text) override { addKeyPart(seen(text)); }
  void visitQuotedKey(const char* text) override { addKeyPart(toml::unquote(seen(text))); }

  void enterArray() override { enterContainer(FrameKind::kArray); }
  void leaveArray() override { leave(FrameKind::kArray); }
  void enterInlineTable() override { enterContainer(FrameKind::kInlineTable); }
  void leaveInlineTable() override { leave(FrameKind::kInlineTable); }

  void visitBasicString(const char* text) override { storeText(toml::unquote(seen(text), "\"")); }
  void visitMultilineBasicString(const char* text) override {
    storeText(toml::processMultilineString(seen(text)));
  }
  void visitLiteralString(const char* text) override { storeText(toml::unquote(seen(text), "'")); }
  void visitMultilineLiteralString(const char* text) override {
    storeText(toml::processMultilineLiteralString(seen(text)));
  }
  void visitInteger(const char* text) override { storeNumber(toml::parseInteger(seen(text))); }
  void visitFloat(const char* text) override { storeNumber(toml::parseFloat(seen(text))); }
  void visitBoolean(const char* text) override { store(hold(toml::parseBoolean(seen(text)))); }
  void visitOffsetDateTime(const char* text) override { storeDateTime(seen(text)); }
  void visitLocalDateTime(const char* text) override { storeDateTime(seen(text)); }
  void visitLocalDate(const char* text) override { storeText(seen(text)); }
  void visitLocalTime(const char* text) override { storeText(seen(text)); }

 private:
  // --- Order ---

  bool at(FrameKind kind) const { return !frames_.empty() && frames_.back().kind == kind; }
  /// Whether the call may come now. After one that may not there are no frames, and a root.
  bool isInOrder(bool fits) {
    if (fits) return true;
    failed_ = true;
    frames_.clear();
    root_.IsArray(false);
    return false;
  }
  bool isIn(FrameKind kind) { return isInOrder(at(kind)); }
  /// A value begins. It is the only one behind a key.
  bool takesValue() {
    if (at(FrameKind::kKeyValue) && top().key) {
      top().kind = FrameKind::kValue;
      return true;
    }
    return isIn(FrameKind::kArray);
  }

  // --- Frames ---

  BuilderFrame& top() { return frames_.back(); }
  Variant& node() { return *top().node; }
  void push(FrameKind kind, Variant& node) { frames_.push_back({kind, &node, {}}); }
  BuilderFrame pop() {
    BuilderFrame frame = std::move(top());
    frames_.pop_back();
    return frame;
  }
  void leave(FrameKind kind) {
    if (isIn(kind)) frames_.pop_back();
  }

  /// The member found, or, where there is none, what takes its place while the walk goes on.
  Variant& orFail(Variant* found, Variant& instead) {
    if (found != nullptr) return *found;
    if (!failed_) conflict_ = keyAt_;
    failed_ = true;
    return instead;
  }

  // --- Places ---

  /// Every token passes here, so that the locator can follow. Null is none.
  const char* seen(const char* token) {
    if (!isInOrder(token != nullptr)) return "";
    if (locator_ != nullptr) tokenAt_ = locator_->locate(token);
    return token;
  }

  // --- Keys and tables ---

  /// Every header starts again from the document; the table of the header before is done.
  void enterHeader(FrameKind kind) {
    if (!isIn(FrameKind::kTable)) return;
    frames_.erase(frames_.begin() + 1, frames_.end());
    push(kind, node());
  }

  /// All parts of a dotted key but the last one are tables.
  void addKeyPart(std::string part) {
    if (!isIn(FrameKind::kKey)) return;
    if (top().key) {
      Variant& parent = node();
      top().node = &orFail(getOrAddTable(parent, *top().key), parent);
    }
    top().key = std::move(part);
    keyAt_ = tokenAt_;
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
    if (!takesValue()) return;
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
    if (!takesValue()) return;
    if (top().kind != FrameKind::kArray) {
      memberAt(node(), *top().key) = std::move(value);
    } else if (Variant* const element = appendMember(node())) {
      *element = std::move(value);
    }
  }

  TokenLocator* locator_;            ///< null when nobody asks for places
  std::size_t tokenAt_ = kNoOffset;  ///< of the token at hand
  std::size_t keyAt_ = kNoOffset;    ///< of the last part of a key
  std::size_t conflict_ = kNoOffset;
  bool failed_ = false;
  Variant root_;
  std::vector<BuilderFrame> frames_;
};

/// Walks a text or a file, and stores the tree if all of it could be built.
template <class Input>
bool readToml(const Input& input, TomlVariantBuilder& builder, Variant& target, LogSite site,
              const char* message) {
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

bool readTomlText(const std::string& text, TomlVariantBuilder& builder, Variant& target) {
  const Variant old(std::move(target));  // the text may be a part of it
  return readToml(text, builder, target, "FromTOML", "Failed to parse TOML data");
}

}  // namespace

bool Variant::FromTOML(const std::string& text) {
  TomlVariantBuilder builder(nullptr);
  return readTomlText(text, builder, *this);
}

bool Variant::FromTOML(const char* data, unsigned int length) {
  return FromTOML(std::string(data, length));
}

bool Variant::FromTOMLFile(const std::string& path) {
  const toml::FilePath file(path);  // a copy: the path may be a part of this value
  Reset();
  TomlVariantBuilder builder(nullptr);
  return readToml(file, builder, *this, "FromTOMLFile", "Failed to parse TOML file");
}

bool readTomlTree(const std::string& text, Variant& target, std::size_t& conflict) {
  TokenLocator locator(text);
  TomlVariantBuilder builder(&locator);
  const bool isRead = readTomlText(text, builder, target);
  conflict = builder.conflict();
  return isRead;
}

}  // namespace vexo::variant

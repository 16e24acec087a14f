// KVP, both directions: one "path=value" line for each leaf of a tree.
#include <algorithm>
#include <string>
#include <string_view>

#include "ascii.h"
#include "compaction.h"
#include "log_area.h"
#include "number_text.h"
#include "pod_stack.h"
#include "scalar_text.h"
#include "swar.h"
#include "text_sink.h"
#include "tree_gatherer.h"
#include "tree_walk.h"
#include "variant_access.h"
#include "vexo_utils/file.h"
#include "vexo_variant/text_error.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_kvp"};

/// Writes the line of each leaf. The path of the member at hand is kept as text.
class KvpWriter : public TreeVisitor<const Variant> {
 public:
  struct Mark {
    std::size_t pathLength;  // of the map
  };

  KvpWriter(const std::string& prefix, std::string_view separator, std::string_view lineEnd)
      : path_(prefix), separator_(separator), lineEnd_(lineEnd) {}

  const TextSink& text() const { return output_; }

  static bool isInner(const Variant& value) { return typeOf(value) == V_MAP; }

  bool leaf(const Variant& value) {
    output_.put(path_);
    output_.put(separator_);
    if (!scalar(value)) return false;
    output_.put(lineEnd_);
    return true;
  }
  bool enter(const Variant&, const VariantMap&, Mark& mark) {
    mark.pathLength = path_.size();
    return true;
  }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    IntegerBuffer buffer;
    extendPath(mark, integerText(key, buffer));
    return true;
  }
  bool stringMember(Mark& mark, const std::string& key, const Variant&) {
    if (key.find(separator_) != std::string::npos) {
      kLog.error(kFunction, "keys can not contain `%s` separator when serialized into KVP",
                 std::string(separator_).c_str());
      return false;
    }
    extendPath(mark, key);
    return true;
  }

 private:
  static constexpr const char* kFunction = "ToInternalKVP";

  void extendPath(const Mark& mark, std::string_view key) {
    path_.resize(mark.pathLength);
    if (!path_.empty()) path_ += '.';
    path_ += key;
  }

  bool scalar(const Variant& value) {
    const std::uint32_t type = typeOf(value);
    if (findType(type) == nullptr) {
      kLog.violation(kFunction, "Invalid type %d", static_cast<int>(type));
    }
    if (type == V_NULL) return true;
    if (type == V_TYPED_MAP) {
      output_.put("\"V_TYPED_MAP is not supported by KVP\"");
      return true;
    }
    return appendScalarText(value, output_);
  }

  TextSink output_;
  std::string path_;
  const std::string_view separator_;
  const std::string_view lineEnd_;
};

struct KvpRules {
  bool numericKeysAsStrings;
  bool valuesAsStrings;
  bool splitKeys;
};

/// The words that stand for 1 and 0, in any case of letters.
struct Word {
  std::string_view text;
  std::int8_t value;
};
constexpr Word kWords[] = {{"on", 1},  {"enable", 1},  {"enabled", 1},  {"true", 1},
                           {"off", 0}, {"disable", 0}, {"disabled", 0}, {"false", 0}};

constexpr std::size_t kLongestWord = [] {
  std::size_t longest = 0;
  for (const Word& word : kWords) longest = std::max(longest, word.text.size());
  return longest;
}();

const Word* findWord(std::string_view text) {
  if (text.size() > kLongestWord) return nullptr;
  const auto found = std::find_if(std::begin(kWords), std::end(kWords), [text](const Word& word) {
    return ascii::equal(text, word.text);
  });
  return found == std::end(kWords) ? nullptr : found;
}

bool isMarkedBuffer(std::string_view text) {
  return text.size() % 4 == 0 && ascii::equal(text.substr(0, kBinaryMarker.size()), kBinaryMarker);
}

/// What a text that is no buffer stands for.
Held holdValue(std::string_view text) {
  if (!text.empty() && startsNumber(text.front())) {
    const Held number = parseNumber(text);
    if (number.type != V_NULL) return compacted(number);
  }
  if (const Word* word = findWord(text)) return hold(word->value);
  return holdText(text);
}

/// What the text of a line stands for. `valid` is false for a marked buffer that is not base64.
Held holdLine(std::string_view text, const KvpRules& rules, bool& valid) {
  valid = true;
  if (rules.valuesAsStrings) return holdText(text);
  if (!isMarkedBuffer(text)) return holdValue(text);
  const std::string_view base64 = text.substr(kBinaryMarker.size());
  auto buffer = decodeBase64(base64);
  valid = wasBase64(base64, *buffer);
  return holdRecord(buffer.release());
}

/// Hands each line of a text to a builder, which has
/// - member(key, text): a line; false to stop;
/// - invalid(number, line): a line without '='.
template <class Builder>
bool readLines(std::string_view rest, Builder& builder) {
  for (std::size_t number = 0;; ++number) {
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    while (!line.empty() && ascii::isSpace(line.front())) line.remove_prefix(1);
    if (!line.empty() && line.front() != '#') {
      const std::size_t equals = line.find('=');
      if (equals == std::string_view::npos) {
        builder.invalid({number, line});
      } else if (!builder.member(line.substr(0, equals), line.substr(equals + 1))) {
        return false;
      }
    }
    if (end == std::string_view::npos) return true;
    rest.remove_prefix(end + 1);
  }
}

struct InvalidLine {
  std::size_t number;
  std::string_view text;

  void report() const {
    kLog.error("FromKVP", "Invalid line detected. Line number (starting from 0): %zu, \"%s\"",
               number, std::string(text).c_str());
  }
};

/// What a key chain that leads to an element starts with.
constexpr char kElementMark = '[';

/// Whether a name as a key chain leads to the member of that name and nowhere else.
bool isPlainName(std::string_view name) {
  const auto isSpecial = [](char c) { return c == '/' || c == '\0'; };
  return !name.starts_with(kElementMark) && std::none_of(name.begin(), name.end(), isSpecial);
}

/// Adds each line to the tree as it comes. This defines what a text means: how a path meets what
/// stands there already, and what is left of a tree after a failure. `root` must be null.
class DirectKvpBuilder {
 public:
  DirectKvpBuilder(const KvpRules& rules, Variant& root) : rules_(rules), root_(root) {}

  void invalid(const InvalidLine& line) { line.report(); }
  bool member(std::string_view key, std::string_view text) {
    Variant& member = rules_.splitKeys ? follow(key) : memberAt(root_, key);
    bool valid = false;
    replace(member, holdLine(text, rules_, valid));
    if (!valid) failedAt_ = text.data() + kBinaryMarker.size();
    return valid;
  }

  /// The text that is no base64.
  const char* failedAt() const { return failedAt_; }

 private:
  /// A part of the key of the line before: where it ends, and the member that it led to.
  struct Step {
    std::size_t end;
    Variant* member;
  };

  /// The member that the parts of a key lead to. Neighbouring lines mostly share the beginning of
  /// their keys: those parts are not looked up again.
  Variant& follow(std::string_view key) {
    path_.truncate(sharedSteps(key));
    lastKey_ = key;
    Variant* member = path_.empty() ? &root_ : path_.top().member;
    std::size_t start = path_.empty() ? 0 : path_.top().end + 1;
    while (start <= key.size()) {
      const std::size_t end = std::min(key.find('.', start), key.size());
      member = &step(*member, key.substr(start, end - start));
      path_.push({end, member});
      start = end + 1;
    }
    return *member;
  }

  std::size_t sharedSteps(std::string_view key) {
    const std::size_t same = swar::commonPrefix(key, lastKey_);
    const auto isShared = [&](const Step& step) {
      return step.end <= same && (step.end == key.size() || key[step.end] == '.');
    };
    return static_cast<std::size_t>(std::find_if_not(path_.begin(), path_.end(), isShared) -
                                    path_.begin());
  }

  Variant& step(Variant& parent, std::string_view part) {
    std::int64_t number = 0;
    if (!rules_.numericKeysAsStrings && parseIntegerName(part, number)) {
      return element(parent, part, number);
    }
    if (isPlainName(part)) return memberAt(parent, part);
    Variant* const found = parent.GetKeyChain(V_ANY, std::string(part), true);
    return found != nullptr ? *found : memberAt(parent, part);
  }

  /// An element is looked up as the key chain "[part]", in which a leading zero means octal, and
  /// created under the decimal number.
  Variant& element(Variant& parent, std::string_view part, std::int64_t number) {
    VariantMap& map = ensureMap(parent);
    const IntegerPrefix inBrackets = parseIntegerPrefix(part, 0);
    if (inBrackets.end == part.data() + part.size()) {
      const auto found = map.numericKeys.find(clampSigned(inBrackets));
      if (found != map.numericKeys.end()) return found->second;
    }
    map.isArray = 1;
    return map.numericKeys.try_emplace(number).first->second;
  }

  const KvpRules rules_;
  Variant& root_;
  std::string_view lastKey_;
  PodStack<Step, 16> path_;
  const char* failedAt_ = nullptr;
};

/// The fast way, for lines in the order in which a tree is written: keys that begin alike are
/// neighbours. Gives up when a map is left and entered again, and at everything else that depends
/// on what is in the tree already; then the work is done again by a DirectKvpBuilder.
class GatheringKvpBuilder {
 public:
  explicit GatheringKvpBuilder(const KvpRules& rules) : rules_(rules) {}

  void invalid(const InvalidLine& line) { invalidLines_.push(line); }
  bool member(std::string_view key, std::string_view text) {
    if (tree_.depth() == 0) tree_.openObject();
    if (!rules_.splitKeys) {
      tree_.name(key);
    } else if (!follow(key)) {
      return false;
    }
    bool valid = false;
    tree_.addMade([&] { return holdLine(text, rules_, valid); });
    return valid;
  }

  /// Gives the finished tree to a value that is null; without any line it stays so.
  bool finish(Variant& root) {
    if (tree_.depth() > 0) {
      if (!closeTo(0) || !tree_.close()) return false;
      put(root, tree_.result());
    }
    for (const InvalidLine& line : invalidLines_) line.report();
    return true;
  }

 private:
  /// Closes the maps that the key does not lead through, opens those that are new.
  bool follow(std::string_view key) {
    if (!closeTo(swar::commonPrefix(key, lastKey_))) return false;
    lastKey_ = key;
    std::size_t start = ends_.empty() ? 0 : ends_.top() + 1;
    for (;;) {
      const std::size_t end = endOfName(key, start);
      if (end < key.size() && key[end] != '.') return false;
      if (!name(key.substr(start, end - start))) return false;
      if (end == key.size()) return true;
      tree_.openObject();
      ends_.push(end);
      start = end + 1;
    }
  }

  /// Closes the maps whose part of the last key ends behind so many bytes.
  bool closeTo(std::size_t same) {
    for (; !ends_.empty() && ends_.top() >= same; ends_.pop()) {
      if (!tree_.close()) return false;
    }
    return true;
  }

  /// Where the name that starts there ends, or stops being plain; zero bytes end it as well.
  static std::size_t endOfName(std::string_view key, std::size_t start) {
    using swar::Chunk;
    for (;; start += Chunk::kSize) {
      const std::string_view rest = key.substr(start);
      const bool isWhole = rest.size() >= Chunk::kSize;
      const Chunk bytes = isWhole ? Chunk(rest.data()) : Chunk::part(rest.data(), rest.size());
      const Chunk::Marks marks = bytes.marksOf('.', '/', '\0');
      if (marks != 0) return start + Chunk::first(marks);
    }
  }

  /// False where the name may lead elsewhere, and everything gathered is given up. The name has
  /// nothing in it that is not plain, but maybe in front.
  bool name(std::string_view part) {
    std::int64_t number = 0;
    if (!rules_.numericKeysAsStrings && parseIntegerName(part, number)) {
      tree_.name(number);
      return isPlainDecimal(part);
    }
    tree_.name(part);
    return !part.starts_with(kElementMark);
  }

  /// Whether an integer means the same in any base that its first digits may stand for.
  static bool isPlainDecimal(std::string_view integer) {
    if (integer.front() == '-') integer.remove_prefix(1);
    return integer == "0" || (integer.front() >= '1' && integer.front() <= '9');
  }

  const KvpRules rules_;
  TreeGatherer tree_{TreeGatherer::IntegersMake::kArrays};
  std::string_view lastKey_;
  PodStack<std::size_t, 16> ends_;  // of the parts of the last key that led to the open maps
  PodStack<InvalidLine, 4> invalidLines_;
};

bool gather(std::string_view text, const KvpRules& rules, Variant& target) {
  GatheringKvpBuilder builder(rules);
  return readLines(text, builder) && builder.finish(target);
}

bool readText(std::string_view text, const KvpRules& rules, Variant& target, TextError* error) {
  const Variant old(std::move(target));          // the text may be a part of it
  if (gather(text, rules, target)) return true;  // NOLINT(bugprone-use-after-move): it is null
  DirectKvpBuilder builder(rules, target);
  if (readLines(text, builder)) return true;
  if (error != nullptr) {
    const auto offset = static_cast<std::size_t>(builder.failedAt() - text.data());
    *error = {locateText(text.data(), text.size(), offset), "expected base64 text after 'b64:'"};
  }
  return false;
}

}  // namespace

bool Variant::ToKVP(std::string& output, const std::string& separator,
                    const std::string& lineEnd) const {
  if (type_ != V_MAP) {
    kLog.error("ToKVP", "Variant must be a V_MAP to create KVP");
    return false;
  }
  return ToInternalKVP(output, std::string(), separator, lineEnd);
}

bool Variant::ToInternalKVP(std::string& output, const std::string& prefix,
                            const std::string& separator, const std::string& lineEnd) const {
  KvpWriter writer(prefix, separator, lineEnd);
  const bool done = walkTree(*this, writer);
  writer.text().appendTo(output);
  return done;
}

bool Variant::ToKVPFile(const std::string& path, const std::string& separator,
                        const std::string& lineEnd) const {
  vexo::utils::File file;
  if (!file.Initialize(path, vexo::utils::FILE_OPEN_MODE_WRITE, 0)) return false;
  std::string text;
  return ToKVP(text, separator, lineEnd) && file.WriteString(text);
}

bool Variant::FromKVP(const std::string& text, bool numericKeysAsStrings, bool valuesAsStrings,
                      bool splitKeys) {
  return readText(text, {numericKeysAsStrings, valuesAsStrings, splitKeys}, *this, nullptr);
}

bool Variant::FromKVP(const char* data, unsigned int length, bool numericKeysAsStrings,
                      bool valuesAsStrings, bool splitKeys) {
  return readText({data, length}, {numericKeysAsStrings, valuesAsStrings, splitKeys}, *this,
                  nullptr);
}

bool Variant::FromKVPFile(const std::string& path, bool numericKeysAsStrings, bool valuesAsStrings,
                          bool splitKeys) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be a part of this value
  const std::string name = path;
  Reset();
  vexo::utils::File file;
  std::string text;
  if (!file.Initialize(name, vexo::utils::FILE_OPEN_MODE_READ, 0)) return false;
  return file.ReadStringAll(text) &&
         FromKVP(text, numericKeysAsStrings, valuesAsStrings, splitKeys);
}

bool readKvpText(const char* data, unsigned int length, bool numericKeysAsStrings,
                 bool valuesAsStrings, bool splitKeys, Variant& target, TextError& error) {
  return readText({data, length}, {numericKeysAsStrings, valuesAsStrings, splitKeys}, target,
                  &error);
}

}  // namespace vexo::variant

#include "repeats.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "vexo_parsers/toml.h"
#include "vexo_variant/variant.h"

namespace tool {

using namespace vexo::variant;

namespace {

/// A name in an object: what it stands for, and where.
struct Name {
  std::string key;
  bool isInteger;
  std::size_t offset;
  std::size_t length;  // in the text

  bool operator==(const Name& other) const {
    return key == other.key && isInteger == other.isInteger;
  }
  bool operator<(const Name& other) const {
    return std::tie(key, isInteger, offset) < std::tie(other.key, other.isInteger, other.offset);
  }
};

/// Adds those of the names from `first` on that an earlier one equals, and drops these names.
void takeRepeats(std::string_view text, std::vector<Name>& names, std::size_t first,
                 std::vector<Repeat>& repeats) {
  const auto begin = names.begin() + static_cast<std::ptrdiff_t>(first);
  std::sort(begin, names.end());
  for (auto i = begin; i != names.end(); ++i) {
    if (i == begin || !(*i == i[-1])) continue;
    repeats.push_back({i->offset, text.substr(i->offset, i->length)});
  }
  names.erase(begin, names.end());
}

void sortByOffset(std::vector<Repeat>& repeats) {
  std::sort(repeats.begin(), repeats.end(),
            [](const Repeat& a, const Repeat& b) { return a.offset < b.offset; });
}

// --- JSON ----------------------------------------------------------------------------------------

/// Steps over a JSON text from one mark to the next.
class JsonScan {
 public:
  explicit JsonScan(std::string_view text) : text_(text) {}

  std::vector<Repeat> repeats() && {
    for (std::size_t at = 0; (at = text_.find_first_of("\"{}:/#", at)) < text_.size();) {
      at = step(at);
    }
    sortByOffset(repeats_);
    return std::move(repeats_);
  }

 private:
  /// Returns where what is at the mark ends.
  std::size_t step(std::size_t at) {
    switch (text_[at]) {
      case '"':
        lastString_ = at;
        return lastEnd_ = endOfString(at);
      case '{':
        objects_.push_back(names_.size());
        return at + 1;
      case '}':
        takeRepeats(text_, names_, objects_.back(), repeats_);
        objects_.pop_back();
        return at + 1;
      case ':':
        names_.push_back(nameOf(lastString_, lastEnd_ - lastString_));
        return at + 1;
      default:
        return endOfComment(at);
    }
  }

  std::size_t endOfString(std::size_t at) const {
    at = text_.find_first_of("\"\\", at + 1);
    while (text_[at] == '\\') at = text_.find_first_of("\"\\", at + 2);
    return at + 1;
  }

  std::size_t endOfComment(std::size_t at) const {
    const std::string_view end = text_.substr(at, 2) == "/*" ? "*/" : "\n";
    return text_.find(end, at + end.size()) + end.size();
  }

  /// The reader tells what is special.
  Name nameOf(std::size_t offset, std::size_t length) const {
    constexpr std::string_view kStartsOfIntegers = "0123456789+- \t\n\v\f\r";
    const std::string_view plain = text_.substr(offset + 1, length - 2);
    const bool isSpecial =
        plain.find('\\') != std::string_view::npos || plain.find_first_of(kStartsOfIntegers) == 0;
    if (!isSpecial) return {std::string(plain), false, offset, length};
    Variant object;
    object.FromJSON("{" + std::string(text_.substr(offset, length)) + ":0}");
    if (object.StringKeysCount() > 0) return {object.str_begin()->first, false, offset, length};
    return {std::to_string(object.num_begin()->first), true, offset, length};
  }

  std::string_view text_;
  std::size_t lastString_ = 0;
  std::size_t lastEnd_ = 0;
  std::vector<Name> names_;           // of the open objects
  std::vector<std::size_t> objects_;  // where the names of each begin
  std::vector<Repeat> repeats_;
};

// --- TOML ----------------------------------------------------------------------------------------

/// Numbers the places in a tree that keys lead to, and keeps which were given.
class TomlKeys final : public vexo::parsers::toml::ITomlTreeVisitor {
 public:
  explicit TomlKeys(std::string_view text) : text_(text) {}

  std::vector<Repeat>& repeats() { return repeats_; }

  void enterDocument() override {}
  void leaveDocument() override {}
  void enterKeyValue() override {}
  void leaveKeyValue() override {}
  void enterStdTable() override { isHeader_ = true; }
  void leaveStdTable() override {
    give();
    openTable(place_);
  }
  void enterArrayTable() override { isHeader_ = true; }
  void leaveArrayTable() override { openTable(elements_[place_] = ++places_); }
  void enterKey() override {
    place_ = isHeader_ ? 0 : tables_.back();
    keyBegin_ = std::string_view::npos;
  }
  void leaveKey() override {
    if (!isHeader_) give();
  }
  void visitUnquotedKey(const char* text) override { descend(text, text); }
  void visitQuotedKey(const char* text) override {
    descend(text, vexo::parsers::toml::unquote(text));
  }
  void enterArray() override {}
  void leaveArray() override {}
  void enterInlineTable() override { tables_.push_back(++places_); }
  void leaveInlineTable() override { tables_.pop_back(); }
  void visitBasicString(const char* text) override { pass(text); }
  void visitMultilineBasicString(const char* text) override { pass(text); }
  void visitLiteralString(const char* text) override { pass(text); }
  void visitMultilineLiteralString(const char* text) override { pass(text); }
  void visitInteger(const char* text) override { pass(text); }
  void visitFloat(const char* text) override { pass(text); }
  void visitBoolean(const char* text) override { pass(text); }
  void visitOffsetDateTime(const char* text) override { pass(text); }
  void visitLocalDateTime(const char* text) override { pass(text); }
  void visitLocalDate(const char* text) override { pass(text); }
  void visitLocalTime(const char* text) override { pass(text); }

 private:
  void openTable(std::size_t place) {
    isHeader_ = false;
    tables_.back() = place;
  }

  /// Steps over a token, and returns where it begins: behind punctuation and comments.
  std::size_t pass(std::string_view token) {
    constexpr std::string_view kBetween = " \t\r\n=.,[]{}\xEF\xBB\xBF";  // and a byte order mark
    std::size_t at = end_;
    while ((at = text_.find_first_not_of(kBetween, at)) < text_.size() && text_[at] == '#') {
      at = text_.find('\n', at);
    }
    at = std::min(at, text_.size());
    end_ = std::min(at + token.size(), text_.size());
    return at;
  }

  /// One part of a key. Headers go on in the last element of an array of tables.
  void descend(std::string_view token, const std::string& name) {
    keyBegin_ = std::min(keyBegin_, pass(token));
    const auto last = elements_.find(place_);
    if (isHeader_ && last != elements_.end()) place_ = last->second;
    const auto [next, isNew] = children_.try_emplace({place_, name}, places_ + 1);
    if (isNew) ++places_;
    place_ = next->second;
  }

  void give() {
    if (given_.insert(place_).second) return;
    repeats_.push_back({keyBegin_, text_.substr(keyBegin_, end_ - keyBegin_)});
  }

  std::string_view text_;
  std::size_t end_ = 0;  // of the token before
  std::size_t keyBegin_ = 0;
  bool isHeader_ = false;
  std::size_t place_ = 0;   // that the parts of the key so far lead to; 0 is the document
  std::size_t places_ = 0;  // how many there are
  std::map<std::pair<std::size_t, std::string>, std::size_t> children_;
  std::map<std::size_t, std::size_t> elements_;  // the last ones of arrays of tables
  std::set<std::size_t> given_;
  std::vector<std::size_t> tables_{0};  // the table of the pairs, and inline tables in it
  std::vector<Repeat> repeats_;
};

}  // namespace

std::vector<Repeat> repeatedJsonNames(const std::string& text) { return JsonScan(text).repeats(); }

std::vector<Repeat> repeatedKvpKeys(const std::string& text) {
  std::vector<Name> names;
  std::vector<Repeat> repeats;
  for (std::size_t at = 0; (at = text.find_first_not_of(" \t\n\v\f\r", at)) < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::size_t mark = text.find('=', at);
    if (text[at] != '#' && mark < end) {
      names.push_back({text.substr(at, mark - at), false, at, mark - at});
    }
    at = end;
  }
  takeRepeats(text, names, 0, repeats);
  sortByOffset(repeats);
  return repeats;
}

std::vector<Repeat> repeatedTomlKeys(const std::string& text) {
  TomlKeys keys(text);
  vexo::parsers::toml::visitTomlTree(text, keys);
  return std::move(keys.repeats());
}

}  // namespace tool

#include "suggestion.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <numeric>
#include <optional>
#include <vector>

namespace tool {

using namespace vexo::variant;

namespace {

// Input decides how long names are and how many: neither may cost time.
constexpr std::size_t kLongestWord = 64;
constexpr std::size_t kMostCandidates = 10000;
constexpr std::size_t kLettersForEachMistake = 3;

char lowerCase(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

/// The number of letters to insert, remove, replace or swap with their neighbours that turn one
/// word into the other; more than `limit` when it is more than that.
std::size_t editDistance(std::string_view from, std::string_view to, std::size_t limit) {
  const std::size_t longer = std::max(from.size(), to.size());
  if (longer > kLongestWord || longer - std::min(from.size(), to.size()) > limit) return limit + 1;
  // Rows of the table of distances between the beginnings of both words: the last three.
  std::vector<std::size_t> before(to.size() + 1);
  std::vector<std::size_t> last(to.size() + 1);
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 1; i <= from.size(); ++i) {
    before.swap(last);
    last.swap(row);
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const bool isSame = from[i - 1] == to[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
      if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
  }
  return std::min(row.back(), limit + 1);
}

/// Keeps the candidate that is most like a word, if it is like it at all: one letter in three may
/// differ.
class Closest {
 public:
  explicit Closest(std::string_view word)
      : word_(word), limit_(word.size() / kLettersForEachMistake) {}

  void consider(std::string_view candidate) {
    const std::size_t distance =
        equalButForCase(word_, candidate) ? 0 : editDistance(word_, candidate, limit_);
    if (distance > limit_ || (distance == limit_ && !text_.empty())) return;
    limit_ = distance;
    text_ = candidate;
  }
  /// Empty when no candidate is like the word.
  const std::string& text() const { return text_; }

 private:
  std::string_view word_;
  std::size_t limit_;
  std::string text_;
};

std::optional<std::int64_t> integerKey(std::string_view text) {
  std::int64_t key = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), key);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return key;
}

/// What -1 and so on are in programs that count from the last element.
std::optional<std::int64_t> fromEnd(const Variant& map, std::int64_t key) {
  if (key >= 0 || map.NumericKeysCount() == 0) return std::nullopt;
  const std::int64_t last = std::prev(map.num_end())->first;
  if (last < 0) return std::nullopt;
  return last - (-1 - key);
}

/// The component of a key chain that leads from a map to a member whose name is like `part`; empty
/// when there is none.
std::string similarComponent(const Variant& map, std::string_view part) {
  const auto key = integerKey(part);
  for (const auto& candidate : {key, key ? fromEnd(map, *key) : key}) {
    if (candidate && map.HasKey(*candidate)) return '[' + std::to_string(*candidate) + ']';
  }
  if (map.HasKey(std::string(part), true)) return std::string(part);
  Closest closest(part);
  std::size_t count = 0;
  for (auto i = map.str_begin(); i != map.str_end() && ++count <= kMostCandidates; ++i) {
    closest.consider(i->first);
  }
  return closest.text();
}

/// Takes what stands before the first of the separators off the front, and the separator.
std::string_view takePart(std::string_view& text, std::string_view separators) {
  const std::size_t length = std::min(text.find_first_of(separators), text.size());
  const std::string_view part = text.substr(0, length);
  text.remove_prefix(std::min(length + 1, text.size()));
  return part;
}

}  // namespace

bool equalButForCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerCase(x) == lowerCase(y); });
}

std::string didYouMean(const std::string& word) {
  return word.empty() ? "" : " (did you mean " + word + "?)";
}

std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates) {
  Closest closest(word);
  for (const std::string& candidate : candidates) closest.consider(candidate);
  return didYouMean(closest.text());
}

std::string similarChain(const Variant& root, std::string_view chain) {
  const std::string_view separators =
      chain.find('/') == std::string_view::npos ? "./[]\"" : "/[]\"";
  const Variant* place = &root;
  std::string found;
  while (!chain.empty()) {
    const std::string_view part = takePart(chain, separators);
    if (part.empty()) continue;
    if (place == nullptr || (*place != V_MAP && *place != V_TYPED_MAP)) return {};
    const std::string component = similarComponent(*place, part);
    if (component.empty()) return {};
    found += (found.empty() ? "" : "/") + component;
    place = place->GetPathComponent(component.c_str(), static_cast<unsigned int>(component.size()),
                                    true);
  }
  // A name with a slash in it, for one, is no component.
  return root.GetKeyChain(V_ANY, found, true) == nullptr ? std::string() : found;
}

}  // namespace tool

#include "survey.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>
#include <vector>

#include "tree_walk.h"

namespace tool {

using namespace vexo::variant;

namespace {

constexpr std::uint64_t kIndentPerLevel = 4;
constexpr std::uint64_t kLargeIndentation = 64u << 20;
constexpr std::uint64_t kWideIndentation = 256;
constexpr std::int64_t kBinKeyEnd = std::int64_t{1} << 56;
constexpr int kDoubleDigits = 53;  // binary ones

/// Visits every value that is written. The text formats do not go into typed maps.
template <class Visit>
void visitWritten(const Variant& root, bool intoTypedMaps, Visit visit) {
  TreeWalk walk(root);
  do {
    visit(walk);
    if (walk.current() == V_MAP || (intoTypedMaps && walk.current() == V_TYPED_MAP)) walk.enter();
  } while (walk.next());
}

void note(Finding& finding, const TreeWalk& walk) {
  if (finding.count++ == 0) finding.firstPath = walk.path();
}

// --- Values that do not survive ------------------------------------------------------------------

bool isInfiniteDouble(const TreeWalk& walk) {
  return walk.current() == V_DOUBLE && !std::isfinite(static_cast<double>(walk.current()));
}

/// Whether the text with six decimals reads back as the same number.
bool survivesSixDecimals(double value) {
  std::array<char, 400> text;  // the longest has 309 digits before the point
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
  double back = 0;
  std::from_chars(text.data(), end.ptr, back);
  return back == value;
}

bool isRoundedDouble(const TreeWalk& walk) {
  if (walk.current() != V_DOUBLE) return false;
  const auto value = static_cast<double>(walk.current());
  return std::isfinite(value) && !survivesSixDecimals(value);
}

bool isRoundedInteger(const TreeWalk& walk) {
  const Variant& value = walk.current();
  if (value != V_INT64 && value != V_UINT64) return false;
  auto magnitude = static_cast<std::uint64_t>(value);
  if (value == V_INT64 && static_cast<std::int64_t>(value) < 0) magnitude = 0 - magnitude;
  return magnitude != 0 && (magnitude >> std::countr_zero(magnitude)) >> kDoubleDigits != 0;
}

bool isTypedMap(const TreeWalk& walk) { return walk.current() == V_TYPED_MAP; }

bool isEmptyMap(const TreeWalk& walk) {
  return walk.current() == V_MAP && walk.current().KeysCount() == 0;
}

bool isArrayWithGaps(const TreeWalk& walk) {
  const Variant& value = walk.current();
  if (value != V_MAP || !value.IsArray() || isEmptyMap(walk) || value.StringKeysCount() > 0) {
    return false;
  }
  const auto last = static_cast<std::int64_t>(value.NumericKeysCount()) - 1;
  return value.num_begin()->first != 0 || std::prev(value.num_end())->first != last;
}

bool isStringOfLines(const TreeWalk& walk) {
  return walk.current() == V_STRING &&
         static_cast<const std::string&>(walk.current()).find('\n') != std::string::npos;
}

// --- Keys that do not survive --------------------------------------------------------------------

bool isLetter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

bool isPlainByte(char byte) {
  return isLetter(byte) || (byte >= '0' && byte <= '9') || byte == '_' || byte == '-';
}

/// Most names, which no rule of KVP takes for anything else.
bool isPlainName(const std::string& key) {
  return !key.empty() && isLetter(key.front()) && std::all_of(key.begin(), key.end(), isPlainByte);
}

/// Whether a map holds this key and no other.
bool holdsOnly(const Variant* map, const std::string& key) {
  return map != nullptr && *map == V_MAP && map->NumericKeysCount() == 0 &&
         map->StringKeysCount() == 1 && map->str_begin()->first == key &&
         map->str_begin()->second == "";
}

/// Asks the KVP reader for a key alone: on its own, or in a map, where less is special.
bool survivesAlone(const std::string& key, bool atTop) {
  Variant back;
  if (atTop) return back.FromKVP(key + "=", false, true, true) && holdsOnly(&back, key);
  return back.FromKVP("map." + key + "=", false, true, true) &&
         holdsOnly(back.GetKeyChain(V_ANY, "map", true), key);
}

/// The KVP reader takes a key for the key chain that it spells, if that leads to a member.
bool leadsToAnother(const TreeWalk& walk, const std::string& key) {
  const Variant* found = walk.parent()->GetKeyChain(V_ANY, key, true);
  return found != nullptr && found != &walk.current();
}

/// An empty name at the top leaves no trace in front of the names below it.
bool vanishes(const TreeWalk& walk, const std::string& key) {
  return walk.depth() == 1 && key.empty() && walk.current() == V_MAP;
}

bool isChangedKey(const TreeWalk& walk) {
  const std::string* key = walk.key().string;
  if (key == nullptr || isPlainName(*key)) return false;
  return vanishes(walk, *key) || !survivesAlone(*key, walk.depth() == 1) ||
         leadsToAnother(walk, *key);
}

/// One kind of loss, and the formats that it concerns.
struct Loss {
  const char* what;
  unsigned targets;
  bool (*occursAt)(const TreeWalk& walk);
};

constexpr Loss kLosses[] = {
    {"doubles rounded to six decimals", kToJson | kToKvp, isRoundedDouble},
    {"infinities or NaN, which are not JSON", kToJson, isInfiniteDouble},
    {"infinities or NaN, which read back as strings", kToKvp, isInfiniteDouble},
    {"typed maps replaced by a placeholder", kToJson | kToKvp, isTypedMap},
    {"empty maps left out", kToKvp, isEmptyMap},
    {"strings with line feeds, which end the line", kToKvp, isStringOfLines},
    {"keys that read back as others", kToKvp, isChangedKey},
    {"integers rounded to 53 binary digits", kToAmf, isRoundedInteger},
    {"names of typed maps left out", kToAmf, isTypedMap},
    {"arrays with gaps closed up", kToAmf, isArrayWithGaps},
};

void warnOf(const Finding& finding, const char* what, const Reporter& reporter) {
  if (finding.count == 0) return;
  reporter.warn(std::string(what) + ": " + std::to_string(finding.count) + ", first at " +
                finding.firstPath);
}

}  // namespace

void warnOfLosses(const Variant& root, Target target, const Reporter& reporter) {
  std::array<Finding, std::size(kLosses)> findings;
  visitWritten(root, target == kToAmf, [&](const TreeWalk& walk) {
    for (std::size_t i = 0; i < findings.size(); ++i) {
      if ((kLosses[i].targets & target) != 0 && kLosses[i].occursAt(walk)) note(findings[i], walk);
    }
  });
  for (std::size_t i = 0; i < findings.size(); ++i) warnOf(findings[i], kLosses[i].what, reporter);
}

bool allowsIndent(const Variant& root, const Reporter& reporter) {
  std::uint64_t lines = 0;
  std::uint64_t indentation = 0;
  visitWritten(root, false, [&](const TreeWalk& walk) {
    const std::uint64_t own = walk.current() == V_MAP ? 2 : 1;  // a map has two brackets
    lines += own;
    indentation += own * kIndentPerLevel * walk.depth();
  });
  if (indentation <= kLargeIndentation || indentation / lines <= kWideIndentation) return true;
  reporter.warn("nested too deep to indent: written compact");
  return false;
}

std::uint64_t kvpTextSize(const Variant& root, const std::string& separator) {
  std::uint64_t total = 0;
  std::vector<std::uint64_t> paths;  // the lengths of the paths to the open maps, and of the last
  std::string rest;
  visitWritten(root, false, [&](const TreeWalk& walk) {
    if (walk.depth() == 0) return;
    paths.resize(walk.depth());
    const std::uint64_t prefix = walk.depth() == 1 ? 0 : paths[walk.depth() - 2];
    const MemberKey key = walk.key();
    const std::size_t own =
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): below the root one of the two is set
        key.integer != nullptr ? std::to_string(*key.integer).size() : key.string->size();
    paths.back() = prefix + (prefix > 0 ? 1 : 0) + own;
    if (walk.current() == V_MAP) return;
    rest.clear();
    walk.current().ToInternalKVP(rest, std::string(), separator, "\n");
    total += paths.back() + rest.size();
  });
  return total;
}

Finding findKeysOutsideBin(const Variant& root) {
  Finding finding;
  visitWritten(root, true, [&](const TreeWalk& walk) {
    const std::int64_t* key = walk.key().integer;
    if (key != nullptr && (*key < 0 || *key >= kBinKeyEnd)) note(finding, walk);
  });
  return finding;
}

}  // namespace tool

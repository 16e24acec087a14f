// What the fuzz targets share; each includes it once and defines run().
#ifndef VEXO_FUZZ_CHECK_H
#define VEXO_FUZZ_CHECK_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "vexo_host/host.h"
#include "vexo_variant/text_error.h"
#include "vexo_variant/variant.h"

// Bad input is logged by the million; only a contract violation matters.
void logInternal(const char*, const char*, const char*, int, int, int, int, const char*, ...) {}
void forceCrash() { std::abort(); }

namespace vexo::fuzz {

using namespace vexo::variant;

/// Puts one input to the test. It lies in a block of its own size, without a zero byte behind it.
void run(std::string_view input);

/// Ends the process with the text unless `condition` holds.
inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::abort();
}

/// A number up to `last` that the end of the input picks.
inline std::uint32_t pick(std::string_view input, std::size_t last) {
  std::uint32_t number = 0;
  for (const char c : input.substr(input.size() - std::min<std::size_t>(input.size(), 2))) {
    number = number << 8 | static_cast<unsigned char>(c);
  }
  return static_cast<std::uint32_t>(number % (last + 1));
}

inline unsigned sizeOf(std::string_view text) { return static_cast<unsigned>(text.size()); }

inline std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return result;
}

/// Whether the whole text is a number, clamped into the range as strtoll does.
inline bool readInteger(const std::string& text, int base, std::int64_t& value) {
  char* end = nullptr;
  value = std::strtoll(text.c_str(), &end, base);
  return end == text.data() + text.size();
}

/// Equal, and of the same types at every place; a tree with a NaN is not equal to itself.
inline bool same(const Variant& a, const Variant& b) {
  return a.ToString() == b.ToString() && (a == b || a != a);
}

/// Whether JSON text can stand for all of a tree: doubles need no more than six decimals, and
/// arrays have neither gaps nor names (they get them from repeated names, which are merged).
inline bool isExpressible(const Variant& tree) {
  if (tree == V_DOUBLE) {
    const double number = tree;
    return std::isfinite(number) && std::strtod(std::to_string(number).c_str(), nullptr) == number;
  }
  if (tree != V_MAP) return true;
  std::int64_t next = 0;
  const auto isElement = [&](const auto& member) {
    return (!tree.IsArray() || member.first == next++) && isExpressible(member.second);
  };
  return std::all_of(tree.num_begin(), tree.num_end(), isElement) &&
         (!tree.IsArray() || tree.StringKeysCount() == 0) &&
         std::all_of(tree.str_begin(), tree.str_end(),
                     [](const auto& member) { return isExpressible(member.second); });
}

/// Checks that the JSON text of a tree reads back, from either layout, to one tree. Text that holds
/// an infinity or NaN, which JSON lacks, is refused there; null then. Returns what was read first.
inline Variant requireJsonReadsBack(const Variant& tree) {
  std::string text, second, third, pretty;
  require(tree.ToJSON(text, false), "JSON can be written");
  Variant first, again, fromPretty;
  TextError error;
  const int length = readJsonText(text.data(), sizeOf(text), first, error);
  if (length < 0) {
    const std::string rest = text.substr(error.position.offset);
    const std::string word = rest.substr(rest.starts_with('-') ? 1 : 0, 3);
    require(word == "inf" || word == "nan", "JSON refuses its own text only at inf and nan");
    return {};
  }
  require(static_cast<unsigned>(length) == sizeOf(text), "JSON text is read to its end");
  // From now on numbers are rounded and repeated names are merged.
  require(first.ToJSON(second, false) && again.FromJSON(second) >= 0, "second reading");
  require(again.ToJSON(third, false) && third == second, "JSON text is stable");
  require(!isExpressible(first) || same(again, first), "JSON text stands for the tree");
  require(first.ToJSON(pretty, true) && fromPretty.FromJSON(pretty) >= 0, "indented text is read");
  require(same(fromPretty, again), "both layouts stand for one tree");
  return first;
}

}  // namespace vexo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vexo::fuzz::run({reinterpret_cast<const char*>(data), size});
  return 0;
}

#endif

#include "survey.h"

#include <array>
#include <charconv>
#include <cmath>

#include "tree_walk.h"

namespace tool {

using vexo::variant::V_DOUBLE;
using vexo::variant::V_MAP;
using vexo::variant::V_TYPED_MAP;
using vexo::variant::Variant;
using vexo::variant::VariantType;

namespace {

constexpr std::uint64_t kIndentPerLevel = 4;
constexpr std::uint64_t kLargeIndentation = 64u << 20;
constexpr std::uint64_t kWideIndentation = 256;
constexpr std::int64_t kBinKeyEnd = std::int64_t{1} << 56;

void note(Finding& finding, const TreeWalk& walk) {
  if (finding.count++ == 0) finding.firstPath = walk.path();
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

void countLine(TextSurvey& survey, const TreeWalk& walk) {
  ++survey.lines;
  survey.indentation += kIndentPerLevel * walk.depth();
}

void surveyDouble(TextSurvey& survey, const TreeWalk& walk) {
  const auto value = static_cast<double>(walk.current());
  if (!std::isfinite(value)) {
    note(survey.infiniteDoubles, walk);
  } else if (!survivesSixDecimals(value)) {
    note(survey.roundedDoubles, walk);
  }
}

void surveyValue(TextSurvey& survey, TreeWalk& walk) {
  countLine(survey, walk);
  const VariantType type = walk.current();
  if (type == V_DOUBLE) surveyDouble(survey, walk);
  if (type == V_TYPED_MAP) note(survey.typedMaps, walk);
  if (type != V_MAP) return;
  countLine(survey, walk);  // the closing bracket
  walk.enter();
}

void warnOf(const Finding& finding, const char* what, const Reporter& reporter) {
  if (finding.count == 0) return;
  reporter.warn(std::string(what) + ": " + std::to_string(finding.count) + ", first at " +
                finding.firstPath);
}

}  // namespace

void TextSurvey::warnOfLosses(const Reporter& reporter) const {
  warnOf(roundedDoubles, "doubles rounded to six decimals", reporter);
  warnOf(infiniteDoubles, "infinities or NaN, which are not JSON", reporter);
  warnOf(typedMaps, "typed maps replaced by a placeholder", reporter);
}

bool TextSurvey::allowsIndent(const Reporter& reporter) const {
  if (indentation <= kLargeIndentation || indentation / lines <= kWideIndentation) return true;
  reporter.warn("nested too deep to indent: written compact");
  return false;
}

TextSurvey surveyText(const Variant& root) {
  TextSurvey survey;
  TreeWalk walk(root);
  do surveyValue(survey, walk);
  while (walk.next());
  return survey;
}

Finding findKeysOutsideBin(const Variant& root) {
  Finding finding;
  TreeWalk walk(root);
  do {
    const std::int64_t* key = walk.integerKey();
    if (key != nullptr && (*key < 0 || *key >= kBinKeyEnd)) note(finding, walk);
    const VariantType type = walk.current();
    if (type == V_MAP || type == V_TYPED_MAP) walk.enter();
  } while (walk.next());
  return finding;
}

}  // namespace tool

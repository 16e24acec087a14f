#include "formats.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <limits>

#include "host.h"
#include "survey.h"
#include "vexo_variant/text_error.h"

namespace tool {

using namespace vexo::variant;

namespace {

constexpr VariantType kBinTags[] = {
    V_NULL,   V_BOOL,   V_INT8,   V_INT16,     V_INT32,  V_INT64,  V_UINT8, V_UINT16,
    V_UINT32, V_UINT64, V_DOUBLE, V_TIMESTAMP, V_STRING, V_BINARY, V_MAP,   V_TYPED_MAP,
};

bool matchesBin(std::string_view head) {
  if (head.size() < 2) return false;
  const int tag = static_cast<unsigned char>(head[0]) << 8 | static_cast<unsigned char>(head[1]);
  return std::find(std::begin(kBinTags), std::end(kBinTags), tag) != std::end(kBinTags);
}

/// Zeros behind the value are what an appended encoding leaves of its allowance.
void warnOfRest(std::string_view rest, const Reporter& reporter) {
  if (rest.find_first_not_of('\0') == std::string_view::npos) return;
  reporter.warn(std::to_string(rest.size()) + " bytes after the BIN value ignored");
}

void decodeBin(const std::string& input, Variant& value, const Reporter& reporter) {
  if (!matchesBin(input)) reporter.fail(kNotParsed, "not a BIN value");
  const std::uint32_t taken = value.FromBIN(reinterpret_cast<const std::uint8_t*>(input.data()),
                                            static_cast<std::uint32_t>(input.size()));
  if (taken == 0) reporter.fail(kNotParsed, "not a complete BIN value");
  warnOfRest(std::string_view(input).substr(taken), reporter);
}

std::string whyNotBin(const Variant& value) {
  const Finding keys = findKeysOutsideBin(value);
  if (keys.count == 0) return std::string("not representable in BIN: ") + lastLibraryError();
  return "integer keys outside 0 to 2^56-1 cannot be stored in BIN: " + std::to_string(keys.count) +
         ", first at " + keys.firstPath;
}

std::string encodeBin(const Variant& value, bool, const Reporter& reporter) {
  std::uint32_t length = value.GetBinRequiredLength();
  std::string output(length, '\0');
  const std::uint32_t written =
      length == 0 ? 0 : value.ToBIN(reinterpret_cast<std::uint8_t*>(output.data()), length);
  if (written == 0) reporter.fail(kNotRepresentable, whyNotBin(value));
  output.resize(written);
  return output;
}

void decodeJson(const std::string& input, Variant& value, const Reporter& reporter) {
  TextError error;
  const int taken =
      readJsonText(input.data(), static_cast<unsigned int>(input.size()), value, error);
  if (taken >= 0) {
    const auto end = static_cast<std::size_t>(taken);
    if (end == input.size()) return;
    error = {locateText(input.data(), input.size(), end), "expected end of text"};
  }
  reporter.failAt(error.position.line, error.position.column, error.reason);
}

std::string encodeJson(const Variant& value, bool compact, const Reporter& reporter) {
  const TextSurvey survey = surveyText(value);
  survey.warnOfLosses(reporter);
  std::string output;
  if (!value.ToJSON(output, !compact && survey.allowsIndent(reporter))) {
    reporter.fail(kNotRepresentable, "a binary value cannot be written as base64");
  }
  return output;
}

bool matchesAnything(std::string_view) { return true; }

/// In the order in which content is matched.
constexpr Format kFormats[] = {
    {"bin",
     {".bin"},
     false,
     std::numeric_limits<std::uint32_t>::max(),
     matchesBin,
     decodeBin,
     encodeBin},
    {"json",
     {".json", ".jsonc"},
     true,
     std::numeric_limits<std::int32_t>::max(),
     matchesAnything,
     decodeJson,
     encodeJson},
};

char lowerCase(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

template <class Predicate>
const Format* findFormat(Predicate predicate) {
  const auto found = std::find_if(std::begin(kFormats), std::end(kFormats), predicate);
  return found == std::end(kFormats) ? nullptr : found;
}

}  // namespace

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const Format& format : kFormats) names.emplace_back(format.name);
  return names;
}

const Format* formatByName(std::string_view name) {
  return findFormat([&](const Format& format) { return format.name == name; });
}

const Format* formatByExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension();
  if (extension.empty()) return nullptr;
  std::transform(extension.begin(), extension.end(), extension.begin(), lowerCase);
  return findFormat([&](const Format& format) {
    return std::count(format.extensions.begin(), format.extensions.end(), extension) > 0;
  });
}

const Format& formatByContent(std::string_view head) {
  return *findFormat([&](const Format& format) { return format.matches(head); });
}

}  // namespace tool

#include "formats.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <limits>
#include <utility>

#include "detection.h"
#include "host.h"
#include "suggestion.h"
#include "survey.h"
#include "vexo_variant/text_error.h"
#include "vexo_variant/toml_text.h"

namespace tool {

using namespace vexo::variant;

namespace {

void failAt(const TextPosition& position, const char* reason, const Reporter& reporter) {
  reporter.failAt(position.line, position.column, reason);
}

// --- BIN and AMF ---------------------------------------------------------------------------------

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

void decodeBin(const std::string& input, const FormatOptions&, Variant& value,
               const Reporter& reporter) {
  if (!matchesBin(input)) reporter.fail(kNotParsed, "not a BIN value");
  const std::uint32_t taken = value.FromBIN(reinterpret_cast<const std::uint8_t*>(input.data()),
                                            static_cast<std::uint32_t>(input.size()));
  if (taken == 0) reporter.fail(kNotParsed, "not a complete BIN value");
  warnOfRest(std::string_view(input).substr(taken), reporter);
}

/// Empty when the value cannot be encoded.
std::string encode(const Variant& value, std::uint32_t (Variant::*measure)() const,
                   std::uint32_t (Variant::*write)(std::uint8_t*, std::uint32_t&) const) {
  std::uint32_t length = (value.*measure)();
  std::string output(length, '\0');
  if (length > 0) {
    length = (value.*write)(reinterpret_cast<std::uint8_t*>(output.data()), length);
  }
  output.resize(length);
  return output;
}

std::string whyNotBin(const Variant& value, const FirstError& error) {
  const Finding keys = findKeysOutsideBin(value);
  if (keys.count == 0) return "not representable in BIN: " + error.text();
  return "integer keys outside 0 to 2^56-1 cannot be stored in BIN: " + std::to_string(keys.count) +
         ", first at " + keys.firstPath;
}

std::string encodeBin(const Variant& value, const FormatOptions&, const Reporter& reporter) {
  FirstError error;
  std::string output = encode(value, &Variant::GetBinRequiredLength, &Variant::ToBIN);
  if (output.empty()) reporter.fail(kNotRepresentable, whyNotBin(value, error));
  return output;
}

std::string encodeAmf(const Variant& value, const FormatOptions&, const Reporter& reporter) {
  FirstError error;
  std::string output = encode(value, &Variant::GetAMFRequiredLength, &Variant::ToAMF);
  if (output.empty()) {
    reporter.fail(kNotRepresentable, "not representable in AMF: " + error.text());
  }
  warnOfLosses(value, kToAmf, reporter);
  return output;
}

// --- JSON ----------------------------------------------------------------------------------------

void decodeJson(const std::string& input, const FormatOptions&, Variant& value,
                const Reporter& reporter) {
  TextError error;
  const int taken =
      readJsonText(input.data(), static_cast<unsigned int>(input.size()), value, error);
  if (taken >= 0) {
    const auto end = static_cast<std::size_t>(taken);
    if (end == input.size()) return;
    error = {locateText(input.data(), input.size(), end), "expected end of text"};
  }
  failAt(error.position, error.reason, reporter);
}

std::string encodeJson(const Variant& value, const FormatOptions& options,
                       const Reporter& reporter) {
  warnOfLosses(value, kToJson, reporter);
  std::string output;
  if (!value.ToJSON(output, !options.compact && allowsIndent(value, reporter))) {
    reporter.fail(kNotRepresentable, "a binary value cannot be written as base64");
  }
  output += '\n';
  return output;
}

bool matchesAnything(std::string_view) { return true; }

// --- KVP -----------------------------------------------------------------------------------------

constexpr std::uint64_t kMaxKvpText = std::uint64_t{1} << 30;

/// Turns the messages about lines that the KVP reader skips into warnings, up to a number that
/// can be read.
class SkippedLines : public ErrorListener {
 public:
  explicit SkippedLines(const Reporter& reporter) : reporter_(reporter) {}

  void hear(const char* message) override {
    std::string_view rest = message;
    if (!rest.starts_with(kMessage) || count_++ >= kShownWarnings) return;
    rest.remove_prefix(kMessage.size());
    std::uint64_t index = 0;
    std::from_chars(rest.data(), rest.data() + rest.size(), index);
    reporter_.warnAt(index + 1, "line without '=' skipped");
  }
  void warnOfOthers() const { reporter_.warnOfMore(count_, "lines without '=' skipped"); }

 private:
  static constexpr std::string_view kMessage =
      "Invalid line detected. Line number (starting from 0): ";

  const Reporter& reporter_;
  std::uint64_t count_ = 0;
};

void decodeKvp(const std::string& input, const FormatOptions& options, Variant& value,
               const Reporter& reporter) {
  SkippedLines skipped(reporter);
  TextError error;
  const bool isRead = readKvpText(input.data(), static_cast<unsigned int>(input.size()), false,
                                  options.kvpStrings, !options.kvpFlat, value, error);
  skipped.warnOfOthers();
  if (!isRead) failAt(error.position, error.reason, reporter);
}

std::string encodeKvp(const Variant& value, const FormatOptions& options,
                      const Reporter& reporter) {
  const std::uint64_t size = kvpTextSize(value, options.kvpSeparator);
  if (size > kMaxKvpText) {
    reporter.fail(kNotRepresentable, "KVP text would take " + std::to_string(size) + " bytes");
  }
  FirstError error;
  std::string output;
  if (!value.ToKVP(output, options.kvpSeparator, "\n")) {
    reporter.fail(kNotRepresentable, "not representable in KVP: " + error.text());
  }
  warnOfLosses(value, kToKvp, reporter);
  return output;
}

// --- TOML ----------------------------------------------------------------------------------------

void decodeToml(const std::string& input, const FormatOptions&, Variant& value,
                const Reporter& reporter) {
  const FirstError logged;  // the error has place and reason
  TextError error;
  const auto length = static_cast<unsigned int>(input.size());
  if (readTomlText(input.data(), length, value, error)) return;
  failAt(error.position, error.reason, reporter);
}

// --- The table -----------------------------------------------------------------------------------

constexpr std::uint64_t kMaxCount = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kMaxJson = std::numeric_limits<std::int32_t>::max();

/// In the order in which content is matched.
constexpr Format kFormats[] = {
    {"bin",
     {".bin"},
     Content::kBinary,
     kMaxCount,
     matchesBin,
     decodeBin,
     encodeBin,
     nullptr,
     nullptr},
    {"toml",
     {".toml"},
     Content::kText,
     kMaxCount,
     looksLikeToml,
     decodeToml,
     nullptr,
     nullptr,
     repeatedTomlKeys},
    {"kvp",
     {".kvp"},
     Content::kText,
     kMaxCount,
     looksLikeKvp,
     decodeKvp,
     encodeKvp,
     hasKvpComments,
     repeatedKvpKeys},
    {"json",
     {".json", ".jsonc"},
     Content::kJson,
     kMaxJson,
     matchesAnything,
     decodeJson,
     encodeJson,
     hasJsonComments,
     repeatedJsonNames},
    {"amf", {".amf"}, Content::kBinary, 0, nullptr, nullptr, encodeAmf, nullptr, nullptr},
};

constexpr char kLetterCase = 'a' - 'A';

char lowerCase(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + kLetterCase) : letter;
}

/// The name of a format as people write it.
std::string title(const Format& format) {
  std::string title(format.name);
  for (char& letter : title) letter = static_cast<char>(letter - kLetterCase);
  return title;
}

template <class Predicate>
const Format* findFormat(Predicate predicate) {
  const auto found = std::find_if(std::begin(kFormats), std::end(kFormats), predicate);
  return found == std::end(kFormats) ? nullptr : found;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) { return lowerCase(c); });
  return text;
}

std::vector<std::string> namesFor(FormatUse use) {
  std::vector<std::string> names;
  for (const Format& format : kFormats) {
    if (use == FormatUse::kRead ? format.read != nullptr : format.write != nullptr) {
      names.emplace_back(format.name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace

const Format& Format::readable(const std::string& path) const {
  if (read != nullptr) return *this;
  throw Failure(kUsage, path + ": " + title(*this) + " can only be written");
}

const Format& Format::writable(const std::string& path) const {
  if (write != nullptr) return *this;
  throw Failure(kUsage, path + ": " + title(*this) +
                            " can only be read: choose another with --output-format");
}

std::string acceptFormatName(std::string& name, FormatUse use) {
  name = lowerCase(std::move(name));
  const std::vector<std::string> names = namesFor(use);
  if (std::count(names.begin(), names.end(), name) > 0) return {};
  const Format* format = formatByName(name);
  if (format == nullptr) {
    return "unknown format " + name + didYouMean(name, names) + ": known are " + joined(names);
  }
  const char* used = use == FormatUse::kRead ? " can only be written" : " can only be read";
  return title(*format) + used + ": choose one of " + joined(names);
}

const Format* formatByName(std::string_view name) {
  return findFormat([&](const Format& format) { return format.name == name; });
}

const Format* formatByExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension();
  if (extension.empty()) return nullptr;
  extension = lowerCase(std::move(extension));
  return findFormat([&](const Format& format) {
    return std::count(format.extensions.begin(), format.extensions.end(), extension) > 0;
  });
}

const Format& formatByContent(std::string_view head) {
  return *findFormat(
      [&](const Format& format) { return format.matches != nullptr && format.matches(head); });
}

}  // namespace tool

// The formats as a table, and inputs of any size that are hard to read.
#ifndef VEXO_TESTS_FORMATS_H
#define VEXO_TESTS_FORMATS_H

#include <bit>

#include "host.h"

namespace vexo::tests {

using variant::Variant;

/// Writing replaces the text, reading takes all of it. Either may be missing.
struct Format {
  Chars name;
  bool (*write)(const Variant& value, std::string& text);
  bool (*read)(V value, const std::string& text);
};

/// By the two calls of a binary format.
template <std::uint32_t (Variant::*kEncode)(std::uint8_t*, std::uint32_t&) const>
bool writeBytes(const Variant& value, std::string& text) {
  std::uint32_t length = 0;
  (value.*kEncode)(nullptr, length);
  text.resize(length);
  text.resize((value.*kEncode)(reinterpret_cast<std::uint8_t*>(text.data()), length));
  return !text.empty();
}

inline bool readBytes(V value, const std::string& text) {
  const auto length = static_cast<std::uint32_t>(text.size());
  return value.FromBIN(reinterpret_cast<const std::uint8_t*>(text.data()), length) == length;
}

inline const Format kFormats[] = {
    {"JSON", [](const Variant& value, std::string& text) { return value.ToJSON(text, false); },
     [](V value, const std::string& text) { return value.FromJSON(text) >= 0; }},
    {"BIN", writeBytes<&Variant::ToBIN>, readBytes},
    {"KVP",
     [](const Variant& value, std::string& text) {
       text.clear();
       return value.ToKVP(text, "=", "\n");
     },
     [](V value, const std::string& text) { return value.FromKVP(text, false, false, true); }},
    {"TOML", nullptr, [](V value, const std::string& text) { return value.FromTOML(text); }},
    {"AMF", writeBytes<&Variant::ToAMF>, nullptr},
};
inline const Format &kJson = kFormats[0], &kBin = kFormats[1], &kKvp = kFormats[2],
                    &kToml = kFormats[3], &kAmf = kFormats[4];

/// A text in which a piece, and what closes it, is repeated.
struct Repetition {
  std::vector<std::string> row;  // as written
  const Format& format;
  std::string start{}, piece{}, core{}, close{}, end{};

  std::string text(std::size_t count) const {
    return start + repeated(piece, count) + core + repeated(close, count) + end;
  }
  /// The most heap that reading about `size` bytes takes for each of them. Every list that doubles
  /// has just done so, whether it began with a power of two or with three.
  double heapPerByte(std::size_t size) const {
    const std::size_t count = std::bit_floor(size / (piece.size() + close.size()));
    double worst = 0;
    for (const std::string& input : {text(count + 8), text(count / 4 * 3 + 8)}) {
      Variant value;
      const std::size_t peak = peakBytes([&] { format.read(value, input); });
      worst = std::max(worst, static_cast<double>(peak) / static_cast<double>(input.size()));
      takeMessages();
    }
    return worst;
  }
};

/// From rows "format => start => piece => core => close => end", of which the last parts may be
/// missing. BIN and AMF are hexadecimal; ^ stands for a line feed.
inline std::vector<Repetition> repetitions(const std::string& rows) {
  std::vector<Repetition> result;
  for (const auto& row : table(rows)) {
    const auto isNamed = [&](const Format& format) { return format.name == row[0]; };
    const Format& format = *std::find_if(kFormats, std::end(kFormats), isNamed);
    Repetition& input = result.emplace_back(Repetition{row, format});
    std::string* const parts[] = {&input.start, &input.piece, &input.core, &input.close,
                                  &input.end};
    for (std::size_t i = 1; i < row.size(); ++i) {
      std::string& part = *parts[i - 1] = row[i];
      std::replace(part.begin(), part.end(), '^', '\n');
      if (&format != &kBin && &format != &kAmf) continue;
      const Bytes bytes = unhex(row[i]);
      part.assign(bytes.begin(), bytes.end());
    }
  }
  return result;
}

/// Objects and arrays in turn, a pair more than pieces: the same tree in every format.
inline std::vector<Repetition> deepTrees() {
  return repetitions(R"(
      JSON => {"k":[ => {"k":[ => 1 => ]} => ]}
      BIN => 10100000 01 016B 10100101 00 => 10100000 01 016B 10100101 00 => E00401 => 00 => 00
      KVP => k.0 => .k.0 => =1^   TOML => k=[ => {k=[ => 1 => ]} => ]
      AMF => 0300016B0A00000001 => 0300016B0A00000001 => 003FF0000000000000 => 000009 => 000009)");
}

/// The worst that search and thought have found, and what is close to them. In BIN, members that
/// come out of order, or under one key, give a map its index, and members that are announced but do
/// not come take all the room that an input of this length is given in advance.
inline std::vector<Repetition> hungryInputs() {
  return repetitions(R"(
      BIN => 100E 8FFFFFFF7F => 61   BIN => 100F 8FFFFFFF7F => 61   BIN => 1011 00 8FFFFFFF7F => 61
      BIN => => 1010 00 8FFFFFFF7F 00   BIN => => 1011 00 00 00 8FFFFFFF7F 01 61
      BIN => => 1010 00 01 00 8001 8FFFFFFF7F 00   BIN => 1010 00 8FFFFFFF7F => 00 8001
      BIN => 1010 00 8FFFFFFF7F => 01 1010 00 00 00 8001
      BIN => => 1010 00 02 01 8001 00   BIN => 1010 00 00 8FFFFFFF7F 00 => 1010 00 01 00
      BIN => 1010 00 00 8FFFFFFF7F 0161 8001 00 => 1010 00 02 01 8001 00
      BIN => 1010 00 00 8FFFFFFF7F 0161 8001 00 => 1010 00 00 02 0161 8001 00
      BIN => 1010 00 8FFFFFFF7F => 01 8001   JSON => => [   JSON => => [ => => ]
      JSON => [ => 1, => ]   JSON => [ => "" => ]   JSON => [ => [] => ]   JSON => [ => [{}] => ]
      JSON => [ => [[], => ]   JSON => [ => "b64:" => ]   JSON => => {"a":   JSON => => {"1":
      JSON => => {"1":0"0":   JSON => => {"a":0"a":   JSON => { => "":1 => }   JSON => { => "\t":1 => }
      KVP => => . => =1   KVP => => 0. => =1   KVP => => a. => =1   KVP => => =^   KVP => => ^
      KVP => => x   TOML => a= => [ => => ]   TOML => a= => {a= => 1 => }   TOML => a => .a => =1
      TOML => a=[ => [], => ]   TOML => a=[ => {}, => ]   TOML => a=[ => '', => ]
      TOML => a=[ => 1, => ]   TOML => => [a]^   TOML => => [[a]]^)");
}

}  // namespace vexo::tests

#endif

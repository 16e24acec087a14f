// What is very large: millions of levels, ten million members, values of 512 MiB, and the inputs
// that take the most memory to read. Prints tables, and fails when a result is wrong, or when time
// or memory is out of proportion. Takes minutes and 5 GB. Times include what the tests count at
// every allocation.
#include <ctime>

#include "formats.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;

/// The row of a table that comes next: times in nanoseconds, or whatever it shows.
std::vector<double> cells;

/// Processor time, since other programs run too. The body returns whether its result is right.
void timed(const auto& body) {
  const std::clock_t start = std::clock();
  EXPECT_TRUE(body()) << "column " << cells.size();
  cells.push_back(1e9 / CLOCKS_PER_SEC * static_cast<double>(std::clock() - start));
}

/// Writes the value and reads it back; a format that is not written reads `text` as it is.
void timeBothWays(const Format& format, const Variant& value, std::string& text) {
  Variant back;
  if (format.write != nullptr) timed([&] { return format.write(value, text); });
  if (format.read != nullptr) timed([&] { return format.read(back, text); });
  EXPECT_TRUE(format.read == nullptr || back == value) << format.name;
}

void row(const std::string& name, double unit = 1) {
  std::printf("\n| %s |", name.c_str());
  for (const double cell : cells) std::printf(" %.1f |", cell / unit);
  std::fflush(stdout);
  cells.clear();
}

void header(const std::string& names) {
  const auto bars = static_cast<std::size_t>(std::count(names.begin(), names.end(), '|'));
  std::printf("\n\n| %s |\n|%s", names.c_str(), repeated("---|", bars + 1).c_str());
}

constexpr Chars kWays =
    " | to JSON | from JSON | to BIN | from BIN | to KVP | from KVP | from TOML | to AMF";

void timeDepth(std::size_t levels) {
  const Variant tree = parsed(deepTrees()[0].text(levels / 2 - 1));
  for (const Repetition& nest : deepTrees()) {
    std::string text = nest.text(levels / 2 - 1);
    timeBothWays(nest.format, tree, text);
    EXPECT_TRUE(text == nest.text(levels / 2 - 1)) << nest.format.name;
  }
  Variant value;
  timed([&] { return value.Copy(tree), true; });
  timed([&] { return value.Compact(), true; });
  timed([&] { return value == tree; });
  timed([&] { return value.Stringify(true, true), true; });
  const std::string stringified = repeated("{\"k\":{\"0\":", levels / 2) + "\"1\"";
  EXPECT_TRUE(json(value) == stringified + repeated("}}", levels / 2));
  timed([&] { return value.Free(), value == V_NULL; });
}

TEST(Scale, TimeIsLinearInDepth) {
  header("ns per level"s + kWays + " | copy | compact | compare | stringify | release");
  std::vector<double> best, usual;
  for (const double levels : {1e4, 1e5, 1e6, 4e6}) {
    best.assign(13, 1e12);
    for (double runs = std::clamp(2e6 / levels, 3.0, 20.0); runs >= 1; --runs) {
      runOnSmallStack([&] { timeDepth(static_cast<std::size_t>(levels)); });
      for (std::size_t i = 0; i < best.size(); ++i) best[i] = std::min(best[i], cells[i] / levels);
      cells.clear();
    }
    cells = best;
    row(std::to_string(static_cast<int>(levels)));
    if (levels == 1e5) usual = best;
  }
  for (std::size_t i = 0; i < best.size(); ++i) cells.push_back(best[i] / usual[i]);
  // With pages of 4 KiB up to 3.6, for want of address translations; see the Makefile.
  EXPECT_LT(*std::max_element(cells.begin(), cells.end()), 3);
  row("the last to 100000");
}

TEST(Scale, TextThatGrowsWithTheSquareOfTheDepth) {
  header("ns per byte of text | write | read");
  const Format indented{
      "JSON", [](const Variant& v, std::string& text) { return v.ToJSON(text, true); }, kJson.read};
  for (const std::size_t levels : {1000u, 4000u, 5000u, 20'000u}) {
    const Format& format = levels < 5000 ? indented : kKvp;
    std::string text;
    const std::string leaves = repeated("{\"b\":1,\"a\":", levels) + "1" + repeated("}", levels);
    timeBothWays(format, parsed(leaves), text);
    row(std::to_string(levels) + " levels, " + format.name, static_cast<double>(text.size()));
  }
}

constexpr std::uint32_t kMembers = 10'000'000, kSize = 512u << 20;
constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;  // multiples of it have no visible order

void timeMap(Chars name, bool appends, const auto& keyOf) {
  const std::size_t before = liveBytes();
  Variant map, copy;
  timed([&] {
    for (std::uint32_t i = 0; i < kMembers; ++i) (appends ? map[-1] : map[keyOf(i)]) = i;
    return map.KeysCount() == kMembers;
  });
  cells.push_back(static_cast<double>(liveBytes() - before));
  timed([&, &members = std::as_const(map)] {
    std::uint32_t i = 0;
    while (i < kMembers && members[keyOf(i)] == i) ++i;
    return i == kMembers;
  });
  timed([&] {
    std::uint64_t sum = 0;
    const auto add = [&](const auto& member) { sum += std::uint32_t{member.second}; };
    std::for_each(map.num_begin(), map.num_end(), add);
    std::for_each(map.str_begin(), map.str_end(), add);
    return sum == std::uint64_t{kMembers} * (kMembers - 1) / 2;
  });
  timed([&] { return copy.Copy(map), true; });
  timed([&] { return copy == map; });
  std::string bin;
  timeBothWays(kBin, map, bin);
  timed([&] { return map.Free(), map == V_NULL; });
  EXPECT_LT(*std::max_element(cells.begin(), cells.end()), 1e4 * kMembers) << "a linear search?";
  row(name, kMembers);
}

TEST(Scale, MapsOfTenMillionMembers) {
  header("ns each | build | bytes | find | iterate | copy | compare | to BIN | from BIN | release");
  const auto mixed = [](std::uint64_t i) { return (i *= kOdd, i ^ i >> 29) * kOdd; };
  timeMap("integers, appended", true, [](auto i) { return i; });
  timeMap("random integers", false,
          [&](auto i) { return mixed(i) >> 8; });  // BIN has keys of 56 bits
  timeMap("ascending strings", false, [](auto i) { return std::to_string(kMembers + i); });
  timeMap("random strings", false, [&](auto i) { return std::to_string(mixed(i)); });
}

TEST(Scale, StringsAndBuffersOf512MiB) {
  header("MB/s"s + kWays);
  std::string content(kSize, ' ');
  for (std::uint32_t i = 0; i < kSize; ++i) content[i] = char('(' + (i * kOdd >> 32) % 87);
  Variant string, buffer;
  string["k"] = content;
  buffer["k"] = Variant(reinterpret_cast<std::uint8_t*>(content.data()), kSize, true);
  for (const Variant* value : {&string, &buffer}) {
    std::string text;
    for (const Format& format : {kJson, kBin, kKvp}) timeBothWays(format, *value, text);
    text = "k='" + content + "'";
    if (value == &string) timeBothWays(kToml, string, text), timeBothWays(kAmf, string, text);
    for (double& cell : cells) cell = kSize / cell * 1e3;
    row(value == &string ? "string" : "buffer");
    EXPECT_EQ(kAmf.write(*value, text), value == &string) << "AMF has no buffers of 256 MiB";
  }
}

TEST(Scale, ReadersTakeNoMoreMemoryForEachByteTheMoreThereAre) {
  header("heap per byte | start | repeated | core | as often | 1 MiB | 16 MiB");
  for (Repetition& input : hungryInputs()) {
    std::string name = input.row[0];
    input.row.resize(5);
    for (std::size_t i = 1; i < input.row.size(); ++i) name += " | `" + input.row[i] + "`";
    cells = {input.heapPerByte(1 << 20), input.heapPerByte(1 << 24)};
    EXPECT_TRUE(cells[0] < 256 && cells[1] <= 1.01 * cells[0]);
    row(name);
  }
}

}  // namespace

// For compilers without a fuzzer: runs every file of the directory given, and variations of them
// that are the same each time.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kVariations = 10'000;

/// In a block of its own size, so that reading past the end is found.
void run(const std::string& input) {
  const std::vector<std::uint8_t> bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

class Variations {
 public:
  explicit Variations(const std::vector<std::string>& seeds) : seeds_(seeds) {}

  /// A seed, or a row of parts of seeds, with a few changes.
  std::string next() {
    std::string input = seed();
    for (std::size_t parts = below(2) << below(8); parts > 0; --parts) input += part();
    for (std::size_t changes = below(4); changes > 0; --changes) {
      input.replace(below(input.size() + 1), below(3), part());
    }
    return input;
  }

 private:
  std::size_t below(std::size_t end) { return static_cast<std::size_t>(random_() % end); }
  const std::string& seed() { return seeds_[below(seeds_.size())]; }
  std::string part() {
    if (below(2) == 0) return std::string(below(3), static_cast<char>(below(256)));
    const std::string& from = seed();
    return from.substr(below(from.size() + 1), below(16));
  }

  const std::vector<std::string>& seeds_;
  std::mt19937_64 random_;
};

}  // namespace

int main(int, char** arguments) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> seeds;
  for (const auto& path : files) {
    std::ifstream file(path, std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    std::fprintf(stderr, "%s\n", path.c_str());
    run(seeds.back());
  }
  if (seeds.empty()) return 1;  // tests nothing
  Variations variations(seeds);
  for (int i = 0; i < kVariations; ++i) {
    std::fprintf(stderr, "variation %d\r", i);  // the last one shows when it fails
    run(variations.next());
  }
  return 0;
}

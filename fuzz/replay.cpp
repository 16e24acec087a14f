// Runs every file of the directories given, for compilers without a fuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
  int files = 0;
  for (int i = 1; i < count; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      std::fprintf(stderr, "%d %s\n", ++files, entry.path().c_str());
      std::ifstream file(entry.path(), std::ios::binary);
      std::vector<std::uint8_t> input{std::istreambuf_iterator<char>(file), {}};
      input.shrink_to_fit();  // so that reading past the end is found
      LLVMFuzzerTestOneInput(input.data(), input.size());
    }
  }
  return files > 0 ? 0 : 1;  // a directory without seeds tests nothing
}

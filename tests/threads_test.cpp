// Any number of threads may read one tree: no read changes anything, not even out of sight. The
// thread sanitizer, where the build has it, sees a change that does no harm this time.
#include <atomic>
#include <thread>

#include "host.h"
#include "vexo_utils/io_buffer.h"

namespace vexo::tests {
namespace {

/// What every reading operation answers, as one value.
variant::Variant answers(const variant::Variant& tree) {
  variant::Variant all;
  std::string text;
  vexo::utils::IOBuffer binary;
  all[-1] = tree.ToKVP(text, "=", "\n") ? text : "";
  all[-1] = json(tree) + tree.ToString() + hex(toBin(tree));
  all[-1] = tree.ToAMF(binary) + tree.GetAMFRequiredLength() + tree.GetBinRequiredLength();
  all[-1] = std::string(binary.data(), binary.data() + binary.size());
  tree.Stringify(all[-1], true, true);
  all[-1] = tree;
  all[-1] = all[all.NumericKeysCount() - 1] == tree && tree == all[all.NumericKeysCount() - 1];
  all[-1] = *tree.GetKeyChain(variant::V_STRING, "deep/MEMBERS/[1]", false);
  all[-1] = tree.HasKey("LIST", false) && tree["list"].HasStrArrayMember("Two", false);
  all[-1] = tree["time"].operator const timeval&();
  all[-1] = static_cast<double>(tree["deep"]["number"]) + static_cast<int>(tree["flag"]);
  all[-1] = static_cast<const char*>(tree["deep"]["members"][std::int64_t{0}]);
  for (auto member = tree.str_begin(); member != tree.str_end(); ++member) {
    all[-1] = member->first + std::to_string(member->second.operator variant::VariantType());
  }
  return all;
}

TEST(ThreadsTest, ReadOneTree) {
  variant::Variant tree =
      parsed(R"({"list": ["one", "two"], "flag": true, "time": "2026-11-22T19:33:00.000250Z",
      "raw": "b64:AAH+", "deep": {"number": 2.5, "members": ["a", "b\n"], "none": null}})");
  for (int i = 0; i < 300; ++i) tree["many"][i * 7 % 300] = i;
  const variant::Variant expected = answers(tree);
  std::atomic<int> waiting = 8, wrong = 0;
  std::vector<std::thread> threads;
  for (int left = waiting; left > 0; --left) {
    threads.emplace_back([&] {
      for (--waiting; waiting > 0;) std::this_thread::yield();  // all of them begin at once
      for (int round = 0; round < 5; ++round) wrong += answers(tree) == expected ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace vexo::tests

// BIN: what decodes is encoded and decoded again, and put through all that a tree can be put to.
#include <vector>

#include "check.h"

namespace vexo::fuzz {

using Bytes = std::vector<std::uint8_t>;
using Writer = std::uint32_t (Variant::*)(std::uint8_t*, std::uint32_t) const;

/// Writes into a block of exactly `room` bytes, so that a write past it is found.
Bytes written(const Variant& tree, Writer write, std::uint32_t room) {
  Bytes bytes(room);
  bytes.resize((tree.*write)(bytes.data(), room));
  require(bytes.size() <= room, "the length is that of what was written");
  return bytes;
}

std::uint32_t read(Variant& tree, const Bytes& bytes) {
  return tree.FromBIN(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

void checkEncodings(const Variant& tree, std::string_view input) {
  const std::uint32_t bound = tree.GetBinRequiredLength();
  const Bytes bytes = written(tree, &Variant::ToInternalBIN, bound);
  Variant again;
  require(!bytes.empty() && read(again, bytes) == bytes.size(), "BIN is read to its end");
  require(same(tree, again), "BIN stands for the tree");
  require(written(again, &Variant::ToInternalBIN, bound) == bytes, "BIN is stable");
  const Bytes shortened = written(tree, &Variant::ToInternalBIN, pick(input, bound));
  require(shortened.empty() || shortened == bytes, "too little room is noticed");
  require(read(again, {bytes.begin(), bytes.end() - 1}) == 0, "a value that is cut short fails");

  const std::uint32_t required = tree.GetAMFRequiredLength();
  const Bytes amf = written(tree, &Variant::ToInternalAMF, required);
  require(!amf.empty() && amf.size() == required, "AMF takes what is required");
  const Bytes none = written(tree, &Variant::ToInternalAMF, pick(input, required - 1));
  require(none.empty(), "AMF does not fit into less");
}

void run(std::string_view input) {
  Variant tree;
  const Bytes bytes(input.begin(), input.end());
  const std::uint32_t taken = read(tree, bytes);
  Variant copy = tree;
  require(taken <= bytes.size(), "no more is read than there is");
  require(same(copy, tree), "a copy is the same, whatever a failure leaves behind");
  if (taken == 0) return;
  checkEncodings(tree, input);
  requireJsonReadsBack(tree);
  copy.Compact();
  require(copy == tree || tree != tree, "compact numbers have the same values");
  for (const bool keys : {false, true}) tree.Stringify(copy, keys, true);
  std::string lines;
  tree.ToKVP(lines, "=", "\n");
}

}  // namespace vexo::fuzz

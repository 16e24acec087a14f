// KVP: the first byte picks the flags; the reader against a plain reading of the lines with the
// public interface only.
#include <set>
#include <vector>

#include "check.h"
#include "vexo_utils/base64.h"
#include "vexo_utils/strings.h"

namespace vexo::fuzz {

enum Flag : unsigned { kNumericKeysAsStrings = 1, kValuesAsStrings = 2, kSplitKeys = 4 };

Variant& step(Variant& node, const std::string& part, unsigned flags) {
  std::int64_t number = 0;
  const bool isElement =
      (flags & kNumericKeysAsStrings) == 0 && !part.empty() && readInteger(part, 10, number);
  Variant* const found = node.GetKeyChain(V_ANY, isElement ? "[" + part + "]" : part, true);
  if (found != nullptr) return *found;
  if (!isElement) return node[part];
  if (node != V_MAP) node.Reset();
  node.IsArray(true);
  if (number != -1) return node[number];
  readJson(R"({"-1":0})", 8, node);  // the subscript -1 would append
  return *node.GetKeyChain(V_ANY, "[-1]", true);
}

/// False when a buffer's text is none of base64.
bool store(Variant& member, const std::string& text, unsigned flags) {
  static const std::set<std::string> kOn = {"on", "enable", "enabled", "true"};
  static const std::set<std::string> kOff = {"off", "disable", "disabled", "false"};
  const bool guess = (flags & kValuesAsStrings) == 0;
  if (guess && text.size() % 4 == 0 && lower(text).starts_with("b64:")) {
    const auto* const base64 = reinterpret_cast<const unsigned char*>(text.data()) + 4;
    VariantBuffer* const buffer = member.AllocateBuffer(sizeOf(text) / 4 * 3 - 3, false);
    unsigned room = buffer->size;
    buffer->size = vexo::utils::unb64(base64, sizeOf(text) - 4, buffer->data, room);
    return buffer->size > 0 || text.size() == 4;
  }
  Variant number;  // of these bytes nothing else can be made in JSON
  if (text.find_first_not_of("0123456789abcdefABCDEFx+-.") == text.npos) number.FromJSON(text);
  const bool isOn = kOn.contains(lower(text));
  if (isOn || kOff.contains(lower(text))) number = static_cast<std::int8_t>(isOn);
  member = guess && number != V_NULL ? number : Variant(text);
  return true;
}

bool readPlainly(const std::string& text, unsigned flags, Variant& tree) {
  std::vector<std::string> lines;
  vexo::utils::split(text, "\n", lines);
  for (std::string& line : lines) {
    vexo::utils::lTrim(line);
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string::npos) continue;
    std::vector<std::string> parts;
    if (flags & kSplitKeys) vexo::utils::split(line.substr(0, equals), ".", parts);
    Variant* node = flags & kSplitKeys ? &tree : &tree[line.substr(0, equals)];
    for (const std::string& part : parts) node = &step(*node, part, flags);
    if (!store(*node, line.substr(equals + 1), flags)) return false;
  }
  return true;
}

bool read(const std::string& text, unsigned flags, Variant& tree) {
  return tree.FromKVP(text, flags & kNumericKeysAsStrings, flags & kValuesAsStrings,
                      flags & kSplitKeys);
}

/// Writes the tree and reads that; whether there was something to read.
bool writeAndRead(const Variant& tree, unsigned flags, Variant& result) {
  std::string text;
  require(tree.ToKVP(text, "=", "\n") == (tree == V_MAP), "what was read can be written");
  require(read(text, flags, result), "what was written is read");
  return result == V_MAP;
}

void run(std::string_view input) {
  if (input.empty()) return;
  const auto flags = static_cast<unsigned char>(input.front());
  const std::string text(input.substr(1));
  Variant tree, expected, first, again;
  const bool done = read(text, flags, tree);
  require(readPlainly(text, flags, expected) == done && same(expected, tree), "the readings agree");

  // Keys are written as they are. What the first reading rounds, merges or loses stays so
  // afterwards, unless a key is looked up as something other than its own text, or is empty and
  // lets the line begin with the key behind it.
  const bool otherKeys = text.find_first_of(std::string("/[\0", 3)) != text.npos;
  const bool exact = (flags & kSplitKeys) == 0 || !(otherKeys || tree.HasKey("", true));
  if (!writeAndRead(tree, flags, first) || !exact) return;
  require(writeAndRead(first, flags, again) && same(again, first), "the tree is stable");
}

}  // namespace vexo::fuzz

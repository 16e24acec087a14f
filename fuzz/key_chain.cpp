// Key chains: the last line is a tree as JSON, all before it are paths; lookups against a plain
// reading of what a path means.
#include "check.h"

namespace vexo::fuzz {

bool equal(const std::string& a, const std::string& b, bool caseSensitive) {
  return caseSensitive ? a == b : lower(a) == lower(b);
}

bool isBracketed(const std::string& text) {
  return text.size() > 1 && text.front() == '[' && text.back() == ']';
}

/// The first in byte order. `wholeKeys` tells that zero bytes do not end the keys of the tree.
const Variant* named(const Variant& tree, const std::string& name, bool caseSensitive,
                     bool wholeKeys) {
  if (tree != V_MAP) return nullptr;
  for (auto i = tree.str_begin(); i != tree.str_end(); ++i) {
    const std::string key = wholeKeys ? i->first : i->first.c_str();
    if (equal(key, name, caseSensitive)) return &i->second;
  }
  return nullptr;
}

const Variant* member(const Variant& tree, const std::string& name, bool caseSensitive,
                      bool wholeKeys) {
  if (!isBracketed(name)) return named(tree, name, caseSensitive, wholeKeys);
  std::int64_t key = 0;
  const bool isNumber = readInteger(name.substr(1, name.size() - 2), 0, key);
  return isNumber && tree.HasKey(key) ? &tree[key] : nullptr;
}

const Variant* chain(const Variant* value, std::string path, bool caseSensitive) {
  if (path.size() > 1 && path.back() == '/') path.pop_back();
  path += '/';
  for (; value != nullptr && !path.empty(); path.erase(0, path.find('/') + 1)) {
    const std::string name = path.substr(0, path.find('/'));
    value = name.empty() ? nullptr : member(*value, name, caseSensitive, caseSensitive);
  }
  return value;
}

void checkLookups(Variant& tree, const std::string& path, bool caseSensitive) {
  const Variant& constant = tree;
  const std::string toZero = path.c_str();
  const Variant* const expected = chain(&tree, toZero, caseSensitive);
  const VariantType own = expected == nullptr ? V_NULL : expected->operator VariantType();
  for (const VariantType type : {V_ANY, V_NUMERIC, V_MAP, V_STRING, V_INT8, V_NULL}) {
    const bool passes = type == V_ANY || own == type || (type == V_NUMERIC && (own & V_NUMERIC));
    const Variant* const found = passes ? expected : nullptr;
    require(constant.GetKeyChain(type, path, caseSensitive) == found, "GetKeyChain const");
    require(constant.GetKeyChain(type, path.c_str(), caseSensitive) == found, "C string const");
    require(tree.GetKeyChain(type, path, caseSensitive) == found, "GetKeyChain");
    require(tree.GetKeyChain(type, path.c_str(), caseSensitive) == found, "C string");
  }
  // The length decides whether a component is a number, but a name goes on to the zero byte.
  for (unsigned length = 0; length <= toZero.size(); ++length) {
    const bool isNumber = isBracketed(toZero.substr(0, length));
    const std::string component = toZero.substr(0, isNumber ? length : toZero.npos);
    const auto* const part =
        (isNumber ? member : named)(tree, component, caseSensitive, caseSensitive);
    const Variant* const expectedPart = length == 0 ? nullptr : part;
    require(constant.GetPathComponent(path.c_str(), length, caseSensitive) == expectedPart &&
                tree.GetPathComponent(path.c_str(), length, caseSensitive) == expectedPart,
            "GetPathComponent");
  }
  // A number ends at the first bracket, whatever follows.
  const std::string key = isBracketed(path) ? path.substr(0, path.find(']') + 1) : path;
  const bool hasKey = member(tree, key, caseSensitive, true) != nullptr;
  require(tree.HasKey(path, caseSensitive) == hasKey, "HasKey");
  bool found = false;      // in the array, which has no gaps
  bool allStrings = true;  // otherwise asking would be a contract violation
  for (std::int64_t i = 0; tree.IsArray() && tree.HasKey(i) && allStrings && !found; ++i) {
    allStrings = constant[i] == V_STRING;
    found = allStrings && equal(constant[i], path, caseSensitive);
  }
  require(!allStrings || tree.HasStrArrayMember(path, caseSensitive) == found, "HasStrArrayMember");
}

void run(std::string_view input) {
  Variant tree;
  const std::size_t end = input.rfind('\n') + 1;  // 0 where there is no path
  tree.FromJSON(std::string(input.substr(end)));
  const Variant before = tree;
  for (std::string_view paths = input.substr(0, end); !paths.empty();) {
    const std::string path(paths.substr(0, paths.find('\n')));
    for (const bool caseSensitive : {false, true}) checkLookups(tree, path, caseSensitive);
    paths.remove_prefix(path.size() + 1);
  }
  require(tree == before, "lookups change nothing");
}

}  // namespace vexo::fuzz

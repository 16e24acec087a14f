// toml++ as a peer.
#include <toml++/toml.h>

#include "toml_peers.h"

namespace bench {
namespace {

std::size_t valuesIn(const toml::node& node) {
  std::size_t values = 1;
  if (const toml::table* const table = node.as_table()) {
    for (const auto& member : *table) values += valuesIn(member.second);
  } else if (const toml::array* const array = node.as_array()) {
    for (const toml::node& element : *array) values += valuesIn(element);
  }
  return values;
}

}  // namespace

HiddenTree TomlPlusPlus::load(const std::string& text) {
  return std::make_shared<const toml::table>(toml::parse(text));
}

std::size_t TomlPlusPlus::count(const HiddenTree& tree) {
  return valuesIn(*static_cast<const toml::table*>(tree.get()));
}

}  // namespace bench

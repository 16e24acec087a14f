// toml11 as a peer. It reads streams only.
#include <sstream>
#include <toml.hpp>

#include "toml_peers.h"

namespace bench {
namespace {

std::size_t valuesIn(const toml::value& value) {
  std::size_t values = 1;
  if (value.is_table()) {
    for (const auto& member : value.as_table()) values += valuesIn(member.second);
  } else if (value.is_array()) {
    for (const toml::value& element : value.as_array()) values += valuesIn(element);
  }
  return values;
}

}  // namespace

HiddenTree Toml11::load(const std::string& text) {
  std::istringstream stream(text);
  return std::make_shared<const toml::value>(toml::parse(stream));
}

std::size_t Toml11::count(const HiddenTree& tree) {
  return valuesIn(*static_cast<const toml::value*>(tree.get()));
}

}  // namespace bench

// The peers that read TOML. Both have their names in `toml`: each is seen by a source of its own.
#ifndef VEXO_BENCH_TOML_PEERS_H
#define VEXO_BENCH_TOML_PEERS_H

#include <cstddef>
#include <memory>
#include <string>

namespace bench {

/// A tree that only its own source can look into.
using HiddenTree = std::shared_ptr<const void>;

struct TomlPlusPlus {
  static constexpr const char* kName = "toml++";
  using Tree = HiddenTree;

  static Tree load(const std::string& text);
  static std::size_t count(const Tree& tree);
};

struct Toml11 {
  static constexpr const char* kName = "toml11";
  using Tree = HiddenTree;

  static Tree load(const std::string& text);
  static std::size_t count(const Tree& tree);
};

}  // namespace bench

#endif

#include "tree_walk.h"

namespace tool {

using vexo::variant::Variant;
using vexo::variant::VariantMap;

namespace {

constexpr std::size_t kLongPath = 200;

}  // namespace

const std::int64_t* TreeWalk::integerKey() const {
  return levels_.empty() ? nullptr : levels_.back().integerKey;
}

std::string TreeWalk::path() const {
  std::string path;
  for (const Level& level : levels_) {
    if (path.size() > kLongPath) return path + "/...";
    if (&level != &levels_.front()) path += '/';
    path += component(level);
  }
  return levels_.empty() ? "." : path;
}

void TreeWalk::enter() {
  const VariantMap* map = *current_;
  levels_.push_back({map, map->numericKeys.begin(), map->stringKeys.begin()});
}

bool TreeWalk::next() {
  while (!levels_.empty()) {
    current_ = advance(levels_.back());
    if (current_ != nullptr) return true;
    levels_.pop_back();
  }
  return false;
}

std::string TreeWalk::component(const Level& level) {
  if (level.integerKey == nullptr) return level.stringKey->substr(0, kLongPath);
  return std::string("[").append(std::to_string(*level.integerKey)).append("]");
}

const Variant* TreeWalk::advance(Level& level) {
  if (level.nextInteger != level.map->numericKeys.end()) {
    const auto& [key, value] = *level.nextInteger++;
    level.integerKey = &key;
    return &value;
  }
  level.integerKey = nullptr;
  if (level.nextString == level.map->stringKeys.end()) return nullptr;
  const auto& [key, value] = *level.nextString++;
  level.stringKey = &key;
  return &value;
}

}  // namespace tool

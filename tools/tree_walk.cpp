#include "tree_walk.h"

namespace tool {

using vexo::variant::Variant;

namespace {

/// What a message has room for.
constexpr std::size_t kPathLimit = 200;

}  // namespace

void appendComponent(std::string& chain, const MemberKey& key, std::size_t limit) {
  if (key.integer != nullptr) {
    chain.append("[").append(std::to_string(*key.integer)).append("]");
  } else if (key.string->empty()) {
    chain.append("\"\"");  // nothing would look like a mistake
  } else {
    chain.append(*key.string, 0, limit);
  }
}

std::string TreeWalk::path() const { return keyChain(levels_, kPathLimit); }

void TreeWalk::enter() {
  levels_.push_back({current_, current_->num_begin(), current_->str_begin()});
}

bool TreeWalk::next() {
  while (!levels_.empty()) {
    current_ = advance(levels_.back());
    if (current_ != nullptr) return true;
    levels_.pop_back();
  }
  return false;
}

const Variant* TreeWalk::advance(Level& level) {
  if (level.nextInteger != level.parent->num_end()) {
    const auto& [key, value] = *level.nextInteger++;
    level.key = {&key, nullptr};
    return &value;
  }
  if (level.nextString == level.parent->str_end()) return nullptr;
  const auto& [key, value] = *level.nextString++;
  level.key = {nullptr, &key};
  return &value;
}

}  // namespace tool

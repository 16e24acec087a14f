// The bytes are operations on a map, which two std::map follow.
#include <map>

#include "check.h"

namespace vexo::fuzz {

/// What is known of a member: its value, and where it was seen last, unless it may have moved
/// since.
template <class Key>
struct Expected {
  int value = 0;
  typename MemberMap<Key, Variant>::const_iterator place = {};
};
template <class Key>
using Model = std::map<Key, Expected<Key>>;

struct Operations {
  std::string_view input;
  Variant map = {};
  Model<std::int64_t> numbers = {};
  Model<std::string> strings = {};
  bool isArray = false;
  int lastValue = 0;

  void run() {
    map.IsArray(false);
    while (!input.empty()) {
      const int code = next();
      operate(code % 11, code >= 128);
      const bool isCounted = map.KeysCount() == numbers.size() + strings.size();
      require(isCounted && map.IsArray() == isArray, "number of members and array flag");
      if (code % 4 != 0 && !input.empty()) continue;
      compare(numbers, number());
      compare(strings, string());
    }
  }

  const VariantMap& record() const { return *map.operator const VariantMap*(); }
  const NumericMembers& membersWith(std::int64_t) const { return record().numericKeys; }
  const StringMembers& membersWith(const std::string&) const { return record().stringKeys; }

  int next() {
    const std::string_view byte = input.substr(0, 1);
    input.remove_prefix(byte.size());
    return byte.empty() ? 0 : static_cast<std::uint8_t>(byte[0]);
  }
  /// Few keys, so that they meet, some of them at the ends; never -1, which appends.
  std::int64_t number() {
    const int byte = next();
    const std::int64_t starts[] = {0, -65, INT64_MIN, INT64_MAX - 63};
    return starts[byte >> 6] + (byte & 63);
  }
  /// Short ones, and ones that share a long beginning; zero bytes and bytes above 127.
  std::string string() {
    const auto byte = static_cast<unsigned>(next());
    return std::string(byte & 0x80 ? 20 : 0, 'a') +
           std::string(byte & 7, "aA\0\xE4"[byte >> 3 & 3]);
  }

  template <class Key>
  void set(Model<Key>& model, const Key& key, Variant& member) {
    Expected<Key>& expected = model[key];
    const auto place = membersWith(key).find(key);
    require(expected.place == decltype(place)() || expected.place == place, "members do not move");
    require(&place->second == &member, "the subscript is of this member");
    expected = {++lastValue, place};
    member = lastValue;
  }
  template <class Key>
  void change(Model<Key>& model, const Key& key, bool isRemoval) {
    if (!isRemoval) return set(model, key, map[key]);
    model.erase(key);
    if constexpr (std::is_integral_v<Key>) map.RemoveValue(key);
    if constexpr (!std::is_integral_v<Key>) map.RemoveValue(key, true);
  }
  /// Many members, with gaps, in either direction: more than one page of an index.
  void changeRun(bool isRemoval) {
    const std::int64_t start = next() * 64;
    const int stride = next() % 8 - 4;
    for (int i = next() / 4; i > 0; --i) {
      const std::int64_t key = start + stride * i;
      change(numbers, key == -1 ? -2 : key, isRemoval);
      if (i % 4 == 0) change(strings, std::to_string(key), isRemoval);
    }
  }
  void append() {
    const std::int64_t last = numbers.empty() ? -1 : numbers.rbegin()->first;
    isArray |= map.KeysCount() == 0;
    if (last < INT64_MAX) set(numbers, last + 1, map[-1]);
  }
  void stringify() {
    map.Stringify(true, false);
    for (const auto& [key, member] : numbers) strings[std::to_string(key)].value = member.value;
    numbers.clear();
    isArray = false;
  }
  /// The map becomes a member of itself, which then takes its place.
  void takeMember(const std::string& key, bool byMove) {
    Variant& member = map[key];
    member = map;
    byMove ? map = std::move(member) : map = member;
    forgetPlaces();
    set(strings, key, map[key]);
  }
  void forgetPlaces() {
    for (auto& member : numbers) member.second.place = {};
    for (auto& member : strings) member.second.place = {};
  }

  void operate(int operation, bool flag) {
    Variant& itself = map;
    if (operation == 0) return change(numbers, number(), flag);
    if (operation == 1) return change(strings, string(), flag);
    if (operation == 2) return changeRun(flag);
    if (operation == 3) return append();
    if (operation == 4) return stringify();
    if (operation == 5) return takeMember(string(), flag);
    if (operation == 6) return map.IsArray(isArray = flag);
    if (operation == 7) return map.ResetKeys(), numbers.clear(), strings.clear();
    if (operation == 8) map = Variant(std::as_const(map)), forgetPlaces();
    if (operation == 9) map = Variant(std::move(map));  // members stay where they are
    if (operation == 10) flag ? map = itself : map = std::move(itself);
  }

  /// The same members in the same order, forwards and backwards, where they were, and iterators of
  /// before go on from there; and the same neighbours of a key.
  template <class Key>
  void compare(Model<Key>& model, const Key& key) {
    const auto& members = membersWith(key);
    auto member = members.begin();
    auto last = members.rbegin();
    for (auto& [name, expected] : model) {
      require(member != members.end() && member->first == name, "keys are the same, in order");
      const auto place = expected.place == decltype(member)() ? member : expected.place;
      require(place == member && &place->second == &std::as_const(map)[name],
              "members do not move and are found");
      expected.place = member;
      require((member++)->second == expected.value, "values are the same");
      const auto back = std::prev(member);
      require(std::next(place) == member && back == place && std::next(back) == member,
              "iterators go on, and back and forth");
    }
    require(member == members.end(), "there are no more members");
    for (auto i = model.rbegin(); i != model.rend(); ++i, ++last) {
      require(last->first == i->first, "backwards as well");
    }
    const auto agree = [&](auto mine, auto theirs) {
      const bool isEnd = theirs == model.end();
      require((mine == members.end()) == isEnd && (isEnd || mine->first == theirs->first),
              "bounds are the same");
    };
    agree(members.lower_bound(key), model.lower_bound(key));
    agree(members.upper_bound(key), model.upper_bound(key));
    agree(members.find(key), model.find(key));
  }
};

void run(std::string_view input) { Operations{input}.run(); }

}  // namespace vexo::fuzz

#include "diff.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "io.h"
#include "report.h"
#include "tree_walk.h"

namespace tool {

using namespace vexo::variant;

namespace {

constexpr std::size_t kPathLimit = 1000;
constexpr std::size_t kBufferedOutput = 65536;
constexpr const char* kRemovedColour = "\x1b[31m";
constexpr const char* kAddedColour = "\x1b[32m";
constexpr const char* kResetColour = "\x1b[0m";

bool isNumber(const Variant& value) {
  return (static_cast<VariantType>(value) & V_NUMERIC) == V_NUMERIC;
}

bool isMap(const Variant& value) { return value == V_MAP || value == V_TYPED_MAP; }

/// Variants compare numbers in the domain of the left one, integers by their bits, and NaN as equal
/// to nothing; here the order of the files does not matter, -1 is not 2^64-1, and a file equals
/// itself.
bool equalNumbers(const Variant& left, const Variant& right) {
  const auto a = static_cast<double>(left);
  const auto b = static_cast<double>(right);
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return (a < 0) == (b < 0) && left == right && right == left;
}

bool equalLeaves(const Variant& left, const Variant& right) {
  return isNumber(left) && isNumber(right) ? equalNumbers(left, right) : left == right;
}

bool sameKind(const Variant& left, const Variant& right) {
  if (left.IsArray() != right.IsArray()) return false;
  const VariantMap* leftMap = left;
  const VariantMap* rightMap = right;
  return leftMap->typeName == rightMap->typeName && (left == V_MAP) == (right == V_MAP);
}

// --- Texts ---------------------------------------------------------------------------------------

std::string json(const Variant& value) {
  std::string text;
  value.ToJSON(text, false);
  return text;
}

/// The type of a value in parentheses.
std::string kind(const Variant& value) {
  std::string text = std::string("(") + Variant::VariantTypeToString(value);
  if (value == V_TYPED_MAP) text += ' ' + static_cast<const VariantMap*>(value)->typeName;
  if (value.IsArray()) text += ", array";
  return text + ')';
}

/// All digits of a double, and the JSON text of anything else.
std::string exactText(const Variant& value) {
  if (value != V_DOUBLE) return json(value);
  std::array<char, 32> text;  // the longest has 24 characters
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(value));
  return {text.data(), end.ptr};
}

// --- Two trees in step ---------------------------------------------------------------------------

/// What two trees have in one place; null where there is nothing.
struct Pair {
  const Variant* left;
  const Variant* right;
};

/// Goes through the members of two maps in the order of their keys.
template <class Members>
class Zip {
 public:
  Zip(const Members& left, const Members& right) : left_(left.begin()), right_(right.begin()) {}

  /// The next key, and its members; null when there is none.
  const typename Members::key_type* next(const Members& left, const Members& right, Pair& pair) {
    const bool hasLeft = left_ != left.end();
    const bool hasRight = right_ != right.end();
    if (!hasLeft && !hasRight) return nullptr;
    const bool takesLeft = hasLeft && (!hasRight || !(right_->first < left_->first));
    const bool takesRight = hasRight && (!hasLeft || !(left_->first < right_->first));
    const auto* const key = takesLeft ? &left_->first : &right_->first;
    pair = {takesLeft ? &left_++->second : nullptr, takesRight ? &right_++->second : nullptr};
    return key;
  }

 private:
  typename Members::const_iterator left_;
  typename Members::const_iterator right_;
};

/// A walk over two trees without recursion, as TreeWalk is over one.
class PairWalk {
 public:
  explicit PairWalk(const Pair& roots) : current_(roots) {}

  const Pair& current() const { return current_; }
  std::string path() const { return keyChain(levels_, kPathLimit); }

  /// Makes the members of the current pair, two maps, come next.
  void enter() { levels_.emplace_back(*current_.left, *current_.right); }
  bool next() {
    while (!levels_.empty()) {
      if (levels_.back().advance(current_)) return true;
      levels_.pop_back();
    }
    return false;
  }

 private:
  struct Level {
    Level(const VariantMap* leftMap, const VariantMap* rightMap)
        : left(leftMap),
          right(rightMap),
          integers(left->numericKeys, right->numericKeys),
          strings(left->stringKeys, right->stringKeys) {}

    bool advance(Pair& pair) {
      key = {integers.next(left->numericKeys, right->numericKeys, pair), nullptr};
      if (key.integer == nullptr) {
        key.string = strings.next(left->stringKeys, right->stringKeys, pair);
      }
      return key.integer != nullptr || key.string != nullptr;
    }

    const VariantMap* left;
    const VariantMap* right;
    Zip<NumericMembers> integers;
    Zip<StringMembers> strings;
    MemberKey key = {};
  };

  Pair current_;
  std::vector<Level> levels_;
};

enum class Difference { kNone, kMissing, kKind, kLeaf };

/// How a pair itself differs, leaving the members of two maps aside.
Difference compare(const Pair& pair) {
  if (pair.left == nullptr || pair.right == nullptr) return Difference::kMissing;
  if (isMap(*pair.left) && isMap(*pair.right)) {
    return sameKind(*pair.left, *pair.right) ? Difference::kNone : Difference::kKind;
  }
  return equalLeaves(*pair.left, *pair.right) ? Difference::kNone : Difference::kLeaf;
}

/// Calls `report(walk, difference)` for each difference until it returns false.
template <class Report>
void findDifferences(const Variant& left, const Variant& right, Report report) {
  PairWalk walk({&left, &right});
  do {
    const Difference difference = compare(walk.current());
    if (difference != Difference::kNone && !report(walk, difference)) return;
    const auto& [a, b] = walk.current();
    if (a != nullptr && b != nullptr && isMap(*a) && isMap(*b)) walk.enter();
  } while (walk.next());
}

// --- Output --------------------------------------------------------------------------------------

class Printer {
 public:
  explicit Printer(bool colours) : colours_(colours) {}

  bool hasPrinted() const { return hasPrinted_; }

  void print(const PairWalk& walk, Difference difference) {
    const auto& [left, right] = walk.current();
    const std::string path = walk.path();
    if (difference == Difference::kKind) {
      lines(path, kind(*left), kind(*right));
    } else if (difference == Difference::kLeaf) {
      leaves(path, *left, *right);
    } else if (left != nullptr) {
      line('-', path, json(*left));
    } else {
      line('+', path, json(*right));
    }
  }
  void flush() {
    writeOutput(std::string(kStandardStream), buffer_);
    buffer_.clear();
  }

 private:
  void leaves(const std::string& path, const Variant& left, const Variant& right) {
    const std::string leftText = json(left);
    const std::string rightText = json(right);
    if (leftText != rightText) return lines(path, leftText, rightText);
    lines(path, kind(left) + ' ' + exactText(left), kind(right) + ' ' + exactText(right));
  }
  void lines(const std::string& path, const std::string& left, const std::string& right) {
    line('-', path, left);
    line('+', path, right);
  }
  void line(char sign, const std::string& path, const std::string& value) {
    hasPrinted_ = true;
    std::string text = std::string{sign, ' '}.append(path).append(" = ").append(value);
    makePrintable(text);
    if (colours_) text = (sign == '-' ? kRemovedColour : kAddedColour) + text + kResetColour;
    buffer_.append(text).append("\n");
    if (buffer_.size() >= kBufferedOutput) flush();
  }

  const bool colours_;
  bool hasPrinted_ = false;
  std::string buffer_;
};

}  // namespace

bool areEqual(const Variant& left, const Variant& right) {
  bool equal = true;
  findDifferences(left, right, [&](const PairWalk&, Difference) { return equal = false; });
  return equal;
}

bool printDifferences(const Variant& left, const Variant& right, bool colours) {
  Printer printer(colours);
  findDifferences(left, right, [&](const PairWalk& walk, Difference difference) {
    printer.print(walk, difference);
    return true;
  });
  printer.flush();
  return !printer.hasPrinted();
}

}  // namespace tool

#include "habits.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "formats.h"
#include "io.h"
#include "report.h"
#include "suggestion.h"

namespace tool {
namespace {

constexpr std::string_view kGet = "get";

/// Words that mean a command of this program.
struct Habit {
  std::string_view command;
  std::string_view words;  // with a blank around each
};

constexpr Habit kHabits[] = {
    {"show", " keys keys_unsorted length type tag paths path to_entries entries map select view "},
    {"check", " validate verify lint test "},
    {"diff", " compare cmp "},
    {"convert", " cat print format fmt prettify tojson to_json "},
    {kGet, " eval e read r query q "},
    {"--help", " help "},
    {"--version", " version "},
    {"", " set put write w update add del delete d unset merge sort sort_by with_entries "},
};

struct OptionHabit {
  std::string_view name;
  const char* ours;
};

constexpr OptionHabit kOptionHabits[] = {
    {"--raw-output", "--raw"},
    {"--compact-output", "--compact"},
    {"--color-output", "--colour"},
    {"--colors", "--colour"},
    {"--monochrome-output", "--monochrome"},
};

const Habit* habitOf(std::string_view word) {
  word = word.substr(0, word.find_first_of("([ |"));
  if (word.empty()) return nullptr;
  const std::string padded = ' ' + std::string(word) + ' ';
  const auto found = std::find_if(std::begin(kHabits), std::end(kHabits), [&](const Habit& habit) {
    return habit.words.find(padded) != std::string_view::npos;
  });
  return found == std::end(kHabits) ? nullptr : found;
}

/// Quoted, unless it has only bytes that mean nothing to a shell.
std::string shellWord(std::string_view text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:@%+,";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string_view::npos) {
    return std::string(text);
  }
  std::string word = "'";
  for (const char byte : text) word += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
  return word += '\'';
}

/// Takes `length` bytes off the front, and one more.
std::string takeWithNext(std::string_view& text, std::size_t length) {
  std::string taken(text.substr(0, length));
  text.remove_prefix(std::min(taken.size() + 1, text.size()));
  return taken;
}

/// Takes one step of a path off the front, as a component of a key chain; empty where none follows.
std::string takeStep(std::string_view& path) {
  if (path.starts_with('.')) path.remove_prefix(1);
  const bool isBracket = path.starts_with('[');
  if (isBracket) path.remove_prefix(1);
  if (path.starts_with('"')) {
    path.remove_prefix(1);
    std::string name = takeWithNext(path, path.find('"'));
    if (isBracket && path.starts_with(']')) path.remove_prefix(1);
    return name;
  }
  if (!isBracket) {
    std::string name(path.substr(0, path.find_first_of(" .[]|?()\"',;:=<>!/")));
    path.remove_prefix(name.size());
    return name;
  }
  const std::string index = takeWithNext(path, path.find(']'));
  const bool isIndex = !index.empty() && index.find_first_not_of("0123456789") == std::string::npos;
  return isIndex ? '[' + index + ']' : std::string();  // counted from the end, or a range
}

/// A path, and not a file whose name begins with a dot.
bool isForeignPath(const std::string& word) {
  return word.starts_with('.') && !word.starts_with("./") && !word.starts_with("../") &&
         formatByExtension(word) == nullptr;
}

/// The command line `get` for a path or a key chain.
Equivalent getting(const std::string& chain, const std::string& inputs) {
  const bool isOwn = !chain.starts_with('.') && (chain.find('/') != std::string::npos ||
                                                 chain.find_first_of(".[") == std::string::npos);
  return {std::string(kGet), ' ' + shellWord(isOwn ? chain : chainOfPath(chain)) + inputs};
}

/// What is wrong with a component of a key chain in brackets, and what was meant instead.
struct IndexFault {
  const char* what = nullptr;
  std::string meant;
};

IndexFault faultOf(const std::string& component) {
  if (!component.starts_with('[') || !component.ends_with(']')) return {};
  if (component == "[]") return {"brackets without an index", "[0]"};
  char* end = nullptr;
  errno = 0;
  const long long index = std::strtoll(component.c_str() + 1, &end, 0);
  const bool isWhole = end == &component.back();
  if (isWhole && errno == ERANGE) return {"an index beyond 64 bits", {}};
  const long long decimal = std::strtoll(component.c_str() + 1, &end, 10);
  if (!isWhole || decimal == index || end != &component.back()) return {};
  return {"a leading 0 makes an index octal", '[' + std::to_string(decimal) + ']'};
}

}  // namespace

bool isForeignWord(std::string_view word) { return habitOf(word) != nullptr; }

Equivalent equivalentOf(const std::vector<std::string>& operands) {
  if (operands.empty()) return {};
  const std::string& word = operands.front();
  std::vector<std::string> others(operands.begin() + 1, operands.end());
  const auto firstInput = std::stable_partition(
      others.begin(), others.end(), [](const std::string& operand) { return !isInput(operand); });
  std::string inputs;
  std::for_each(firstInput, others.end(),
                [&](const std::string& input) { inputs += ' ' + shellWord(input); });
  others.erase(firstInput, others.end());
  const Habit* habit = habitOf(word);
  if (habit != nullptr && habit->command == kGet && others.size() <= 1) {
    return getting(others.empty() ? "." : others.front(), inputs);
  }
  if (!others.empty()) return {};
  if (habit != nullptr) {
    const bool isOption = habit->command.starts_with('-');
    return {std::string(habit->command), isOption ? std::string() : inputs};
  }
  const bool isChain = !inputs.empty() && word.find('.') == std::string::npos;
  return isChain || isForeignPath(word) ? getting(word, inputs) : Equivalent();
}

std::string didYouMean(const Equivalent& equivalent, const std::string& option) {
  if (equivalent.command.empty()) return {};
  return didYouMean("vexo-variant " + equivalent.command + (option.empty() ? "" : ' ' + option) +
                    equivalent.operands);
}

std::string equivalentOption(std::string_view name) {
  const auto found = std::find_if(std::begin(kOptionHabits), std::end(kOptionHabits),
                                  [&](const OptionHabit& habit) { return habit.name == name; });
  return found == std::end(kOptionHabits) ? std::string() : found->ours;
}

std::string chainOfPath(std::string_view path) {
  std::string chain;
  for (std::string step = takeStep(path); !step.empty(); step = takeStep(path)) {
    chain += (chain.empty() ? "" : "/") + step;
  }
  return chain.empty() ? "." : chain;
}

void refuseMisleadingChain(const std::string& chain) {
  for (std::size_t start = 0; start < chain.size();) {
    const std::size_t end = std::min(chain.find('/', start), chain.size());
    const IndexFault fault = faultOf(chain.substr(start, end - start));
    if (fault.what != nullptr) {
      std::string meant = fault.meant;
      if (!meant.empty()) meant = chain.substr(0, start) + meant + chain.substr(end);
      throw Failure(kUsage, std::string(fault.what) + ": " + chain + didYouMean(meant));
    }
    start = end + 1;
  }
}

}  // namespace tool

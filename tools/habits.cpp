#include "habits.h"

#include <algorithm>
#include <iterator>

#include "chains.h"
#include "formats.h"
#include "io.h"
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
    {kGet, " eval e read r query "},
    {"--help", " help "},
    {"--version", " version "},
    {"", " set put write update add del delete unset merge sort sort_by with_entries "},
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

}  // namespace

bool isForeignWord(std::string_view word) { return habitOf(word) != nullptr; }

Equivalent equivalentOf(const std::vector<std::string>& operands) {
  if (operands.empty()) return {};
  const std::string& word = operands.front();
  std::string inputs;
  std::vector<std::string> others;
  for (std::size_t i = 1; i < operands.size(); ++i) {
    if (isInput(operands[i])) {
      inputs += ' ' + shellWord(operands[i]);
    } else {
      others.push_back(operands[i]);
    }
  }
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

}  // namespace tool

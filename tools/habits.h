// What people type who are used to other tools, and the command line that does the same here.
#ifndef VEXO_TOOLS_HABITS_H
#define VEXO_TOOLS_HABITS_H

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A command line of this program.
struct Equivalent {
  std::string command;   ///< empty when there is none
  std::string operands;  ///< as a shell takes them, a blank in front of each
};

/// Whether a word, perhaps with arguments in parentheses, is a command or a function of jq or yq.
bool isForeignWord(std::string_view word);

/// What does here what the operands, without a command of this program in front, do in jq or yq:
/// `.a[0] FILE`, `keys FILE`, `eval .a FILE`. Also for a key chain that lacks its `get`. None for
/// what takes more than one command, or has no counterpart.
Equivalent equivalentOf(const std::vector<std::string>& operands);

/// " (did you mean vexo-variant COMMAND OPERANDS?)", with an option, if there is one, behind the
/// command; nothing without a command.
std::string didYouMean(const Equivalent& equivalent, const std::string& option = {});

/// The option that does what one of this name does in jq; otherwise empty.
std::string equivalentOption(std::string_view name);

}  // namespace tool

#endif

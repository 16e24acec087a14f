#include "command_line.h"

#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "habits.h"
#include "io.h"
#include "report.h"
#include "suggestion.h"
#include "vexo_variant/config.h"

namespace tool {
namespace {

constexpr const char* kProgram = "vexo-variant";
constexpr const char* kVersion = "vexo-variant " VEXO_VARIANT_VERSION "\n";
constexpr std::size_t kHelpColumn = 34;

constexpr const char* kFooter =
    "vexo-variant COMMAND --help shows the options of a command. Without a command word, convert "
    "is\n"
    "meant; options may stand in front of the word. A file that has the name of a command is "
    "./NAME.\n"
    "- is standard input or output, and the default.\n"
    "\n"
    "Formats: bin, json, kvp (lines of path=value); toml is only read, amf only written.\n"
    "An input is read by -p, or else by its extension, or else by its content. An output is "
    "written\n"
    "by -o, or else by its extension, or else as JSON.\n"
    "JSON input may have up to 2 GiB - 1 bytes, other input up to 4 GiB - 1.\n"
    "\n"
    "Exit codes: 0 done, found or equal; 1 not found or different; 2 usage;\n"
    "3 the input does not parse; 4 not representable in the output format;\n"
    "5 input/output, or out of memory.\n";

const Command* commandNamed(const std::string& word) {
  const auto all = commands();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Command& command) { return word == command.name; });
  return found == all.end() ? nullptr : &*found;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const Command& command : commands()) names.emplace_back(command.name);
  return names;
}

// --- Help ----------------------------------------------------------------------------------------

std::string usageOf(const Command& command) {
  const bool isDefault = &command == &commands().front();
  return std::string(kProgram) + (isDefault ? " [" : " ") + command.name + (isDefault ? "]" : "") +
         " [OPTIONS] " + command.operands;
}

/// Help without what explains CLI11 rather than the command.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kHelpColumn); }

  std::string make_usage(const CLI::App* app, std::string) const override {
    std::string usage;
    for (const Command& command : commands()) {
      if (app->get_parent() != nullptr && app->get_name() != command.name) continue;
      usage += (usage.empty() ? "Usage: " : "       ") + usageOf(command) + '\n';
    }
    return usage;
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    const bool hasValue = option->get_items_expected_max() > 0 && !option->get_positional();
    return hasValue ? ' ' + option->get_type_name() : std::string();
  }
};

// --- Arguments -----------------------------------------------------------------------------------

bool isOption(const std::string& argument) { return argument.size() > 1 && argument[0] == '-'; }

/// Whether the commands have an option of that name, and it takes a value.
bool takesValue(const CLI::App& app, const std::string& name) {
  for (const CLI::App* command : app.get_subcommands({})) {
    const CLI::Option* option = command->get_option_no_throw(name);
    if (option != nullptr) return option->get_items_expected_max() > 0;
  }
  return false;
}

/// Whether the value of an option is the argument behind it.
bool takesNext(const CLI::App& app, const std::string& argument) {
  if (argument.starts_with("--")) return takesValue(app, argument);
  for (std::size_t i = 1; i < argument.size(); ++i) {
    if (takesValue(app, std::string("-") + argument[i])) return i + 1 == argument.size();
  }
  return false;
}

using Argument = std::vector<std::string>::iterator;

/// The first argument that is neither an option nor the value of one; the end where none comes
/// before "--".
Argument firstWord(const CLI::App& app, Argument begin, Argument end) {
  for (auto i = begin; i != end; ++i) {
    if (*i == "--") break;
    if (!isOption(*i)) return i;
    if (takesNext(app, *i) && ++i == end) break;
  }
  return end;
}

std::vector<std::string> wordsOf(const CLI::App& app, std::vector<std::string>& arguments) {
  std::vector<std::string> words;
  const auto end = arguments.end();
  for (auto i = firstWord(app, arguments.begin(), end); i != end; i = firstWord(app, i + 1, end)) {
    words.push_back(*i);
  }
  return words;
}

bool asksAboutProgram(const std::vector<std::string>& arguments) {
  constexpr const char* kQuestions[] = {"-h", "--help", "-V", "--version"};
  return !arguments.empty() && std::find(std::begin(kQuestions), std::end(kQuestions),
                                         arguments.front()) != std::end(kQuestions);
}

/// CLI11 takes [a,b] for a list where any number of files may stand.
void keepBrackets(std::vector<std::string>& arguments) {
  for (std::string& argument : arguments) {
    if (argument.starts_with('[') && argument.ends_with(']')) argument.insert(0, "./");
  }
}

/// Puts the command word in front of its options, which may come first, or adds it. False when none
/// was given.
bool putCommandFirst(const CLI::App& app, std::vector<std::string>& arguments) {
  const auto word = firstWord(app, arguments.begin(), arguments.end());
  const Command* command = word == arguments.end() ? nullptr : commandNamed(*word);
  if (command == nullptr) {
    if (!asksAboutProgram(arguments)) {
      arguments.insert(arguments.begin(), commands().front().name);
    }
    return false;
  }
  std::rotate(arguments.begin(), word, word + 1);
  if (std::string_view(command->operands).ends_with("...")) keepBrackets(arguments);
  return true;
}

// --- Wrong usage ---------------------------------------------------------------------------------

bool hasOption(const CLI::App& app, const std::string& command, const std::string& option) {
  const CLI::App* found = commandNamed(command) == nullptr ? nullptr : app.get_subcommand(command);
  return found != nullptr && found->get_option_no_throw(option) != nullptr;
}

/// The commands that have an option which another one lacks.
std::string commandsWith(const CLI::App& app, const std::string& option) {
  std::string names;
  for (const Command& command : commands()) {
    if (hasOption(app, command.name, option))
      names += (names.empty() ? "" : ", ") + std::string(command.name);
  }
  return names;
}

std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

/// `meant` is what the command line perhaps means, when it names no command.
std::string explainOption(const CLI::App& app, const CLI::App& command, const std::string& name,
                          const Equivalent& meant) {
  const std::string alias = equivalentOption(name);
  const std::string& known = alias.empty() ? name : alias;
  const std::string others = commandsWith(app, name);
  std::string fault = others.empty()
                          ? "unknown option " + name
                          : name + " is no option of " + command.get_name() + ", but of " + others;
  if (hasOption(app, meant.command, known)) return fault + didYouMean(meant, known);
  if (!others.empty()) return fault;
  if (hasOption(app, command.get_name(), alias)) return fault + didYouMean(alias);
  return fault + didYouMean(name, optionNames(command));
}

/// An option without its value, or a flag with one: CLI11's message begins with its name, which for
/// flags lacks the dashes.
std::string explainMismatch(const CLI::App& command, const std::string& message) {
  const std::string name = message.substr(0, message.find_first_of(": "));
  const bool isComplete = command.get_option_no_throw(name) != nullptr;
  return isComplete ? name + " needs a value" : "--" + name + " takes no value";
}

template <class Error>
bool is(const CLI::ParseError& error) {
  return dynamic_cast<const Error*>(&error) != nullptr;
}

/// No command looks like this.
bool isPath(const std::string& word) {
  return word == kStandardStream || word.find_first_of("./") != std::string::npos;
}

/// The first operand was to be a command, or a key chain that lacks its `get`, when it is no file.
void refuseUnknownWord(const std::vector<std::string>& operands, ExitCode code) {
  if (operands.empty()) return;
  const std::string& word = operands.front();
  if (commandNamed(word) != nullptr || (word != "." && (isInput(word) || !isMissing(word)))) return;
  std::string suggestion;
  if (!isForeignWord(word) && !isPath(word)) suggestion = didYouMean(word, commandNames());
  if (suggestion.empty()) suggestion = didYouMean(equivalentOf(operands));
  if (suggestion.empty() && isPath(word)) return;
  if (suggestion.empty()) suggestion = std::string(" (see ") + kProgram + " --help)";
  throw Failure(code, inputName(word) + ": no such file or command" + suggestion);
}

/// `operands` are those of a command line that names no command, otherwise none.
[[noreturn]] void refuse(const CLI::App& app, const CLI::ParseError& error,
                         const std::vector<std::string>& operands) {
  const CLI::App& command = *app.get_subcommands().front();
  const std::vector<std::string> extras = command.remaining();
  const std::string see = "; see " + std::string(kProgram) + ' ' + command.get_name() + " --help";
  const std::string usage = "; usage: " + usageOf(*commandNamed(command.get_name()));
  if (is<CLI::ArgumentMismatch>(error)) {
    throw Failure(kUsage, explainMismatch(command, error.what()) + see);
  }
  if (is<CLI::ExtrasError>(error) || is<CLI::RequiredError>(error)) {
    const auto option = std::find_if(extras.begin(), extras.end(), isOption);
    if (option != extras.end()) {
      const std::string name = option->substr(0, option->find('='));
      throw Failure(kUsage, explainOption(app, command, name, equivalentOf(operands)) + see);
    }
    refuseUnknownWord(operands, kUsage);
    throw Failure(
        kUsage, (extras.empty() ? error.what() : "too many arguments: " + extras.front()) + usage);
  }
  throw Failure(kUsage, error.what() + see);
}

void refuseIdleTerminal(const std::vector<std::string>& arguments) {
  if (arguments.empty() && ::isatty(STDIN_FILENO) == 1) {
    throw Failure(kUsage, "no input: name a file, or - for the terminal (see vexo-variant --help)");
  }
}

void print(const std::string& text) { writeOutput(std::string(kStandardStream), text); }

}  // namespace

int runCommandLine(int count, char** values) {
  CLI::App app(
      "Converts, shows, queries and compares trees of values in BIN, JSON, KVP, TOML and AMF.",
      kProgram);
  app.formatter(std::make_shared<HelpFormatter>());
  app.set_help_flag("-h,--help", "show this help");
  app.set_version_flag("-V,--version", kVersion, "show the version");
  app.require_subcommand(1);
  Options options;
  int result = kDone;
  std::vector<std::string> operands;  // when the command line names no command
  for (const Command& command : commands()) {
    CLI::App* subcommand = app.add_subcommand(command.name, command.description);
    subcommand->group("Commands");
    subcommand->set_version_flag("-V,--version", kVersion, "show the version");
    command.declare(*subcommand, options);
    subcommand->final_callback([&] {
      refuseUnknownWord(operands, kInputOutput);
      result = command.run(options);
    });
  }
  app.footer(kFooter);  // the commands, which are there already, do not take it over

  std::vector<std::string> arguments(values + 1, values + count);
  refuseIdleTerminal(arguments);
  operands = wordsOf(app, arguments);
  if (putCommandFirst(app, arguments)) operands.clear();
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
  try {
    app.parse(arguments);
  } catch (const CLI::CallForHelp&) {
    print(app.help());
  } catch (const CLI::CallForVersion& version) {
    print(version.what());
  } catch (const CLI::ParseError& error) {
    refuse(app, error, operands);
  }
  return result;
}

}  // namespace tool

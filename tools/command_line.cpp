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
#include "formats.h"
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

/// The first argument that is neither an option nor the value of one; the end where none comes
/// before "--".
std::vector<std::string>::iterator firstWord(const CLI::App& app,
                                             std::vector<std::string>& arguments) {
  for (auto i = arguments.begin(); i != arguments.end(); ++i) {
    if (*i == "--") break;
    if (!isOption(*i)) return i;
    if (takesNext(app, *i) && ++i == arguments.end()) break;
  }
  return arguments.end();
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
  const auto word = firstWord(app, arguments);
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

/// The commands that have an option which another one lacks.
std::string commandsWith(const CLI::App& app, const std::string& option) {
  std::string names;
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_option_no_throw(option) == nullptr) continue;
    names += (names.empty() ? "" : ", ") + command->get_name();
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

std::string explainOption(const CLI::App& app, const CLI::App& command, const std::string& name) {
  const std::string others = commandsWith(app, name);
  if (others.empty()) return "unknown option " + name + didYouMean(name, optionNames(command));
  return name + " is no option of " + command.get_name() + ", but of " + others;
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

/// `word` is the first operand where no command is named, otherwise empty.
[[noreturn]] void refuse(const CLI::App& app, const CLI::ParseError& error,
                         const std::string& word) {
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
      throw Failure(kUsage,
                    explainOption(app, command, option->substr(0, option->find('='))) + see);
    }
    if (!word.empty() && !isPath(word) && isMissing(word)) {
      throw Failure(kUsage, word + ": no such command (see " + kProgram + " --help)");
    }
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

/// Without a command word the operands are files. A key chain in the place of the first one, also
/// as other programs write it, lacks its command.
void refuseForgottenGet(const Options& options) {
  const std::string& word = options.input;
  if (word != "." && !isMissing(word)) return;
  const bool isFileName =
      word.starts_with("./") || word.starts_with("../") || formatByExtension(word) != nullptr;
  const bool isChain = word.starts_with('.') && !isFileName;
  const bool hasOutput = options.output != kStandardStream;
  const bool hasFile = hasOutput && !isMissing(options.output);
  const bool mayBeChain = isChain || (hasFile && word.find('.') == std::string::npos);
  if (!mayBeChain || hasOutput != hasFile) return;
  throw missingFile(word, inputName(word) + (hasFile ? ' ' + options.output : ""));
}

/// A word that is neither a file nor a command was perhaps to be one of them.
void refuseUnknownWord(const Options& options) {
  const std::string& word = options.input;
  if (word == kStandardStream || commandNamed(word) != nullptr) return;
  const std::string suggestion = isPath(word) ? std::string() : didYouMean(word, commandNames());
  if (suggestion.empty()) refuseForgottenGet(options);
  if (isPath(word) || !isMissing(word)) return;
  throw Failure(kInputOutput, inputName(word) + ": no such file or command" +
                                  (suggestion.empty() ? " (see vexo-variant --help)" : suggestion));
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
  bool isNamed = false;
  for (const Command& command : commands()) {
    CLI::App* subcommand = app.add_subcommand(command.name, command.description);
    subcommand->group("Commands");
    subcommand->set_version_flag("-V,--version", kVersion, "show the version");
    command.declare(*subcommand, options);
    subcommand->final_callback([&] {
      if (!isNamed) refuseUnknownWord(options);
      result = command.run(options);
    });
  }
  app.footer(kFooter);  // the commands, which are there already, do not take it over

  std::vector<std::string> arguments(values + 1, values + count);
  refuseIdleTerminal(arguments);
  const auto first = firstWord(app, arguments);
  const std::string word = first == arguments.end() ? std::string() : *first;
  isNamed = putCommandFirst(app, arguments);
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
  try {
    app.parse(arguments);
  } catch (const CLI::CallForHelp&) {
    print(app.help());
  } catch (const CLI::CallForVersion& version) {
    print(version.what());
  } catch (const CLI::ParseError& error) {
    refuse(app, error, isNamed ? std::string() : word);
  }
  return result;
}

}  // namespace tool

// vexo-variant: converts, shows, queries and compares files that hold a value of
// vexo::variant::Variant.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "io.h"
#include "report.h"
#include "vexo_variant/config.h"

namespace tool {
namespace {

constexpr const char* kFooter =
    "Without a command word, convert is meant.\n"
    "Formats: bin, json, kvp (lines of path=value); toml is only read, amf only written.\n"
    "JSON input may have up to 2 GiB - 1 bytes, other input up to 4 GiB - 1.\n"
    "Exit codes: 0 done, found or equal; 1 not found or different; 2 usage;\n"
    "3 the input does not parse; 4 not representable in the output format;\n"
    "5 input/output, or out of memory.\n";

bool namesCommand(const std::string& word) {
  const auto all = commands();
  return std::any_of(all.begin(), all.end(),
                     [&](const Command& command) { return word == command.name; });
}

bool asksForHelp(const std::string& word) {
  return word == "-h" || word == "--help" || word == "-V" || word == "--version";
}

/// The arguments as CLI11 takes them, last one first, with the command word put in if it is
/// missing.
std::vector<std::string> reversedArguments(int count, char** values) {
  std::vector<std::string> arguments(values + 1, values + count);
  if (arguments.empty() || !(namesCommand(arguments[0]) || asksForHelp(arguments[0]))) {
    arguments.insert(arguments.begin(), commands().front().name);
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

void print(const std::string& text) { writeOutput(std::string(kStandardStream), text); }

int run(int count, char** values) {
  CLI::App app(
      "Converts, shows, queries and compares variant trees in BIN, JSON, KVP, TOML and AMF.",
      "vexo-variant");
  app.set_version_flag("-V,--version", "vexo-variant " VEXO_VARIANT_VERSION "\n");
  app.footer(kFooter);
  app.require_subcommand(1);
  Options options;
  int result = kDone;
  for (const Command& command : commands()) {
    CLI::App* subcommand = app.add_subcommand(command.name, command.description);
    command.declare(*subcommand, options);
    subcommand->final_callback([&] { result = command.run(options); });
  }
  try {
    app.parse(reversedArguments(count, values));
  } catch (const CLI::CallForHelp&) {
    print(app.help());
  } catch (const CLI::CallForVersion& version) {
    print(version.what());
  } catch (const CLI::ParseError& error) {
    throw Failure(kUsage, error.what());
  }
  return result;
}

}  // namespace
}  // namespace tool

int main(int argc, char** argv) {
  try {
    return tool::run(argc, argv);
  } catch (const tool::Failure& failure) {
    tool::printLine(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    tool::printLine("out of memory");
  } catch (const std::exception& error) {
    tool::printLine(error.what());
  }
  return tool::kInputOutput;
}

// The commands: what they take and what they do.
#ifndef VEXO_TOOLS_COMMANDS_H
#define VEXO_TOOLS_COMMANDS_H

#include <CLI/App.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "formats.h"
#include "report.h"

namespace tool {

/// What the command line asks for, of all commands together.
struct Options {
  std::string input = "-";
  std::string output = "-";
  std::string other;               ///< what the input is compared with
  std::vector<std::string> files;  ///< that are checked
  std::string chain;
  std::string inputFormat;   ///< a name, or empty: by extension, then by content
  std::string outputFormat;  ///< a name, or empty: by extension, then json
  std::optional<std::string> fallback;
  FormatOptions formatting;
  bool inPlace = false;
  bool raw = false;
  bool exitStatus = false;
  bool force = false;  ///< bytes that are no text go to a terminal too
  bool colour = false;
  bool monochrome = false;
  bool quiet = false;
};

struct Command {
  const char* name;
  const char* operands;  ///< as the usage line shows them
  const char* description;
  /// Declares the arguments and options, which fill `options`.
  void (*declare)(CLI::App& app, Options& options);
  /// Returns the exit code, or throws a Failure.
  int (*run)(const Options& options);
};

/// The first one is meant when none is named.
std::span<const Command> commands();

}  // namespace tool

#endif

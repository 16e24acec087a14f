#include "commands.h"

#include <sys/time.h>
#include <unistd.h>

#include <CLI/Validators.hpp>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string_view>
#include <utility>

#include "chains.h"
#include "colour.h"
#include "diff.h"
#include "formats.h"
#include "habits.h"
#include "io.h"
#include "report.h"
#include "suggestion.h"
#include "survey.h"
#include "vexo_utils/time.h"
#include "vexo_variant/text_error.h"

namespace tool {

using namespace vexo::variant;

namespace {

// --- Options -------------------------------------------------------------------------------------

void addFlag(CLI::App& app, const char* names, bool& flag, const char* help) {
  app.add_flag(names, flag, help)->disable_flag_override();
}

/// An option with a value; the last one counts, so that an alias can be overruled.
template <class Value>
CLI::Option* addValue(CLI::App& app, const char* names, const char* type, Value& value,
                      const char* help) {
  return app.add_option(names, value, help)->type_name(type)->take_last();
}

/// An option that names a format, in letters of any case; `-o=json` is understood too.
void addFormat(CLI::App& app, const char* names, std::string& value, FormatUse use,
               const char* help) {
  const auto accept = [use](std::string& name) {
    if (name.starts_with('=')) name.erase(0, 1);
    return acceptFormatName(name, use);
  };
  addValue(app, names, "FMT", value, help)->transform(CLI::Validator(accept, ""));
}

void addReading(CLI::App& app, Options& options) {
  addFormat(app, "-p,--input-format", options.inputFormat, FormatUse::kRead,
            "format of the input: bin, json, kvp or toml");
  addFlag(app, "--kvp-flat", options.formatting.kvpFlat, "KVP input: dots in keys mean nothing");
  addFlag(app, "--kvp-strings", options.formatting.kvpStrings,
          "KVP input: all values stay strings");
}

void addQuiet(CLI::App& app, Options& options, const char* help) {
  addFlag(app, "-q,--quiet", options.quiet, help);
}

void addInput(CLI::App& app, const char* name, Options& options) {
  app.add_option(name, options.input, "the input; - (the default) is standard input");
  addReading(app, options);
  addQuiet(app, options, "no warnings");
}

void addColour(CLI::App& app, Options& options) {
  CLI::Option* on = app.add_flag("-C,--colour,--color", options.colour,
                                 "colours, even when the output is no terminal")
                        ->disable_flag_override();
  app.add_flag("-M,--monochrome", options.monochrome, "no colours")
      ->disable_flag_override()
      ->excludes(on);
}

void addWriting(CLI::App& app, Options& options) {
  addFormat(app, "-o,--output-format", options.outputFormat, FormatUse::kWrite,
            "format of the output: bin, json, kvp or amf");
  addFlag(app, "-c,--compact", options.formatting.compact, "JSON on one line");
  addValue(app, "--kvp-separator", "TEXT", options.formatting.kvpSeparator,
           "KVP output: what stands between key and value, = by default");
  addFlag(app, "--force", options.force, "binary output even to a terminal");
  addColour(app, options);
}

// --- Input and output ----------------------------------------------------------------------------

/// An input that is open, and the format in which it is read.
struct Input {
  Input(const std::string& path, const Options& options)
      : reporter(inputName(path), options.quiet),
        source(path, reporter),
        format(formatOf(path, options, source)) {}

  Variant read(const Options& options) {
    const std::string bytes = source.readAll(format.maxInput);
    Variant value = decode(bytes, options);
    if (options.inPlace && format.hasComments != nullptr && format.hasComments(bytes)) {
      reporter.warn("comments are not kept");
    }
    return value;
  }

  /// Reads without keeping anything, and warns of names that come twice.
  void check(const Options& options) {
    const std::string bytes = source.readAll(format.maxInput);
    decode(bytes, options);
    if (format.repeats == nullptr || options.quiet) return;
    const std::vector<Repeat> repeats = format.repeats(bytes);
    for (std::size_t i = 0; i < std::min<std::size_t>(repeats.size(), kShownWarnings); ++i) {
      const TextPosition place = locateText(bytes.data(), bytes.size(), repeats[i].offset);
      reporter.warnAt(place.line, place.column, "repeated name " + std::string(repeats[i].name));
    }
    reporter.warnOfMore(repeats.size(), "repeated names");
  }

  const Reporter reporter;
  Source source;
  const Format& format;

 private:
  Variant decode(const std::string& bytes, const Options& options) const {
    Variant value;
    try {
      format.read(bytes, options.formatting, value, reporter);
    } catch (const Failure& failure) {
      throw Failure(failure.code(), failure.what() + adviceAbout(bytes, options));
    }
    return value;
  }

  /// Where the extension has decided on a text format, the content may be BIN after all.
  std::string adviceAbout(std::string_view bytes, const Options& options) const {
    const bool isBin = format.content != Content::kBinary && formatByName("bin")->matches(bytes);
    return isBin && options.inputFormat.empty() ? " (it looks like BIN: see --input-format)" : "";
  }

  static const Format& formatOf(const std::string& path, const Options& options, Source& source) {
    const Format* format =
        options.inputFormat.empty() ? formatByExtension(path) : formatByName(options.inputFormat);
    return format != nullptr ? format->readable(path) : formatByContent(source.head());
  }
};

bool isTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

/// Empty for a variable that is not set.
std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

bool wantsColour(const Options& options) {
  if (options.colour || options.monochrome) return options.colour;
  return isTerminal() && environment("NO_COLOR").empty() && environment("TERM") != "dumb";
}

void print(std::string_view bytes) { writeOutput(std::string(kStandardStream), bytes); }

/// Text that comes from an input does not steer a terminal.
std::string harmless(std::string text) {
  if (isTerminal()) makePrintable(text, "\t\n");
  return text;
}

/// Bytes that are no text may leave a terminal in any state.
void printBytes(const Options& options, std::string_view bytes) {
  if (isTerminal() && !options.force) {
    throw Failure(kUsage, "<stdout> is a terminal: redirect binary output, or say --force");
  }
  print(bytes);
}

void printText(std::string text) { print(harmless(std::move(text))); }

void printAsLine(std::string text) { printText(std::move(text += '\n')); }

void printTree(const Options& options, std::string text, TextKind kind) {
  if (!wantsColour(options)) return printText(std::move(text));
  print(colourise(harmless(std::move(text)), kind));
}

/// Writes a value in a format to standard output or to a file.
void deliver(const Options& options, const std::string& path, const Format& format,
             const Variant& value, const Reporter& reporter) {
  std::string bytes = format.write(value, options.formatting, reporter);
  if (path != kStandardStream) {
    writeOutput(path, bytes);
  } else if (format.content == Content::kBinary) {
    printBytes(options, bytes);
  } else if (format.content == Content::kJson) {
    printTree(options, std::move(bytes), TextKind::kJson);
  } else {
    printText(std::move(bytes));
  }
}

// --- convert -------------------------------------------------------------------------------------

void declareConvert(CLI::App& app, Options& options) {
  addInput(app, "IN", options);
  CLI::Option* output =
      app.add_option("OUT", options.output, "the output; - (the default) is standard output");
  addWriting(app, options);
  app.add_flag("-i,--in-place", options.inPlace, "write back to IN")
      ->disable_flag_override()
      ->excludes(output);
}

/// The format that is asked for, or that of a file in place, or that of the extension of the
/// output, or JSON.
const Format& outputFormat(const Options& options, const std::string& path, const Format* inPlace) {
  if (!options.outputFormat.empty()) return *formatByName(options.outputFormat);
  const Format* format = inPlace != nullptr ? inPlace : formatByExtension(path);
  return format != nullptr ? format->writable(path) : *formatByName("json");
}

/// The name of an output may promise a format that the command does not know.
void warnOfExtension(const std::string& path, bool quiet) {
  if (!std::filesystem::path(path).has_extension() || formatByExtension(path) != nullptr) return;
  Reporter(path, quiet).warn("no format has this extension: written as JSON");
}

int runConvert(const Options& options) {
  if (options.inPlace && options.input == kStandardStream) {
    throw Failure(kUsage, "--in-place needs a file");
  }
  Input input(options.input, options);
  const std::string& path = options.inPlace ? options.input : options.output;
  const Format& format = outputFormat(options, path, options.inPlace ? &input.format : nullptr);
  const Variant value = input.read(options);
  if (options.outputFormat.empty() && !options.inPlace) warnOfExtension(path, options.quiet);
  deliver(options, path, format, value, input.reporter);
  return kDone;
}

// --- show ----------------------------------------------------------------------------------------

void declareShow(CLI::App& app, Options& options) {
  addInput(app, "FILE", options);
  addColour(app, options);
}

int runShow(const Options& options) {
  Input input(options.input, options);
  const Variant value = input.read(options);
  warnOfLosses(value, kToJson, input.reporter);
  if (allowsIndent(value, input.reporter)) {
    printTree(options, value.ToString() + '\n', TextKind::kAnnotated);
  } else {
    std::string text;
    value.ToJSON(text, false);
    printTree(options, std::move(text += '\n'), TextKind::kJson);
  }
  return kDone;
}

// --- get -----------------------------------------------------------------------------------------

void declareGet(CLI::App& app, Options& options) {
  app.add_option("CHAIN", options.chain, "such as network/ports/[0]; . is the whole document")
      ->required();
  addInput(app, "FILE", options);
  addWriting(app, options);
  addFlag(app, "-r,--raw", options.raw,
          "strings and timestamps without quotes, the bytes of a buffer");
  addValue(app, "-d,--default", "TEXT", options.fallback,
           "what to print when there is no such member");
  addFlag(app, "-e,--exit-status", options.exitStatus, "exit 1 when the member is null or false");
}

const Variant* findChain(const Variant& root, const std::string& chain) {
  if (chain.empty() || chain == ".") return &root;
  return root.GetKeyChain(V_ANY, chain, true);
}

int reportMissing(const Variant& root, const Options& options, const Reporter& reporter) {
  if (!options.fallback) {
    std::string similar = similarChain(root, options.chain);
    if (similar.empty() && options.chain.starts_with('.')) {
      similar = similarChain(root, chainOfPath(options.chain));
    }
    reporter.fail(kNotFound, "no member " + options.chain + didYouMean(similar));
  }
  printAsLine(*options.fallback);
  return kDone;
}

/// The types that have a raw form; false for all others.
bool printRaw(const Options& options, const Variant& value) {
  if (value == V_STRING) {
    printAsLine(value);
  } else if (value == V_TIMESTAMP) {
    printAsLine(vexo::utils::timevalToString(&static_cast<const timeval&>(value)));
  } else if (value == V_BINARY) {
    const VariantBuffer* buffer = value;
    printBytes(options, {reinterpret_cast<const char*>(buffer->data), buffer->size});
  } else {
    return false;
  }
  return true;
}

bool isNullOrFalse(const Variant& value) {
  return value == V_NULL || (value == V_BOOL && !static_cast<bool>(value));
}

/// The operands may stand the wrong way round.
void refuseSwapped(const Options& options) {
  if (isInput(options.input) || !isMissing(options.input) || !isInput(options.chain)) return;
  const Equivalent meant = equivalentOf({options.input, options.chain});
  throw Failure(kInputOutput, inputName(options.input) + ": no such file" + didYouMean(meant));
}

int runGet(const Options& options) {
  refuseMisleadingChain(options.chain);
  refuseSwapped(options);
  Input input(options.input, options);
  const std::string path(kStandardStream);
  const Format& format = outputFormat(options, path, nullptr);
  const Variant value = input.read(options);
  const Variant* found = findChain(value, options.chain);
  if (found == nullptr) return reportMissing(value, options, input.reporter);
  if (!options.raw || !printRaw(options, *found)) {
    deliver(options, path, format, *found, input.reporter);
  }
  return options.exitStatus && isNullOrFalse(*found) ? kNotFound : kDone;
}

// --- diff ----------------------------------------------------------------------------------------

void declareDiff(CLI::App& app, Options& options) {
  app.add_option("A", options.input, "one file; one of both may be -, standard input")->required();
  app.add_option("B", options.other, "the other file")->required();
  addReading(app, options);
  addColour(app, options);
  addQuiet(app, options, "no warnings and no differences, only the exit code");
}

int runDiff(const Options& options) {
  if (options.input == kStandardStream && options.other == kStandardStream) {
    throw Failure(kUsage, "only one of two files can be standard input");
  }
  const Variant left = Input(options.input, options).read(options);
  const Variant right = Input(options.other, options).read(options);
  const bool equal =
      options.quiet ? areEqual(left, right) : printDifferences(left, right, wantsColour(options));
  return equal ? kDone : kDifferent;
}

// --- check ---------------------------------------------------------------------------------------

void declareCheck(CLI::App& app, Options& options) {
  app.add_option("FILE", options.files, "the files; - is standard input")->required();
  addReading(app, options);
  addQuiet(app, options, "no warnings");
}

/// The exit code for one file; says what is wrong with it.
int checkFile(const std::string& path, const Options& options) {
  try {
    Input(path, options).check(options);
    return kDone;
  } catch (const Failure& failure) {
    printLine(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    printLine(inputName(path) + ": out of memory");
    return kInputOutput;
  }
}

int runCheck(const Options& options) {
  int result = kDone;
  for (const std::string& path : options.files) {
    const int code = checkFile(path, options);
    if (result == kDone) result = code;
  }
  return result;
}

constexpr Command kCommands[] = {
    {"convert", "[IN [OUT]]", "Convert between formats", declareConvert, runConvert},
    {"show", "[FILE]", "Show a tree with the types of its values", declareShow, runShow},
    {"get", "CHAIN [FILE]", "Print the member that a key chain leads to", declareGet, runGet},
    {"diff", "A B", "Print what two files differ in, one line each", declareDiff, runDiff},
    {"check", "FILE...", "Say which files do not parse", declareCheck, runCheck},
};

}  // namespace

std::span<const Command> commands() { return kCommands; }

}  // namespace tool

#include "commands.h"

#include <sys/time.h>
#include <unistd.h>

#include <CLI/Validators.hpp>
#include <cstdlib>
#include <new>
#include <string_view>

#include "colour.h"
#include "diff.h"
#include "formats.h"
#include "io.h"
#include "report.h"
#include "survey.h"
#include "vexo_utils/time.h"

namespace tool {

using namespace vexo::variant;

namespace {

// --- Options -------------------------------------------------------------------------------------

void addReading(CLI::App& app, Options& options) {
  app.add_option("-p,--input-format", options.inputFormat,
                 "format of the input (by default from the extension, then from the content)")
      ->check(CLI::IsMember(readableFormats()));
  app.add_flag("--kvp-flat", options.formatting.kvpFlat, "KVP input: dots in keys mean nothing");
  app.add_flag("--kvp-strings", options.formatting.kvpStrings,
               "KVP input: all values stay strings");
}

void addQuiet(CLI::App& app, Options& options, const char* help) {
  app.add_flag("-q,--quiet", options.quiet, help);
}

void addInput(CLI::App& app, const char* name, Options& options) {
  app.add_option(name, options.input, "the input; - (the default) is standard input");
  addReading(app, options);
  addQuiet(app, options, "no warnings");
}

void addColour(CLI::App& app, Options& options) {
  CLI::Option* on = app.add_flag("-C,--colour,--color", options.colour,
                                 "colours, even when the output is not a terminal");
  app.add_flag("-M,--monochrome", options.monochrome, "no colours")->excludes(on);
}

void addWriting(CLI::App& app, Options& options) {
  app.add_option("-o,--output-format", options.outputFormat, "format of the output")
      ->check(CLI::IsMember(writableFormats()));
  app.add_flag("-c,--compact", options.formatting.compact, "JSON on one line");
  app.add_option("--kvp-separator", options.formatting.kvpSeparator,
                 "KVP output: what stands between key and value, = by default");
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
    Variant value;
    format.read(source.readAll(format.maxInput), options.formatting, value, reporter);
    return value;
  }

  const Reporter reporter;
  Source source;
  const Format& format;

 private:
  static const Format& formatOf(const std::string& path, const Options& options, Source& source) {
    const Format* format =
        options.inputFormat.empty() ? formatByExtension(path) : formatByName(options.inputFormat);
    return format != nullptr ? format->readable(path) : formatByContent(source.head());
  }
};

bool wantsColour(const Options& options) {
  if (options.colour || options.monochrome) return options.colour;
  const char* noColour = std::getenv("NO_COLOR");
  return ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
}

void print(std::string_view text) { writeOutput(std::string(kStandardStream), text); }

void printAsLine(std::string text) { print(text += '\n'); }

void printText(const Options& options, const std::string& text, TextKind kind) {
  if (wantsColour(options)) {
    print(colourise(text, kind));
  } else {
    print(text);
  }
}

/// Writes a value in a format to standard output or to a file.
void deliver(const Options& options, const std::string& path, const Format& format,
             const Variant& value, const Reporter& reporter) {
  const std::string bytes = format.write(value, options.formatting, reporter);
  if (format.hasColours && path == kStandardStream) {
    printText(options, bytes, TextKind::kJson);
  } else {
    writeOutput(path, bytes);
  }
}

// --- convert -------------------------------------------------------------------------------------

void declareConvert(CLI::App& app, Options& options) {
  addInput(app, "IN", options);
  CLI::Option* output =
      app.add_option("OUT", options.output, "the output; - (the default) is standard output");
  addWriting(app, options);
  app.add_flag("-i,--in-place", options.inPlace, "write back to IN")->excludes(output);
}

/// The format that is asked for, or that of a file in place, or that of the extension of the
/// output, or JSON.
const Format& outputFormat(const Options& options, const std::string& path, const Format* inPlace) {
  if (!options.outputFormat.empty()) return *formatByName(options.outputFormat);
  const Format* format = inPlace != nullptr ? inPlace : formatByExtension(path);
  return format != nullptr ? format->writable(path) : *formatByName("json");
}

int runConvert(const Options& options) {
  if (options.inPlace && options.input == kStandardStream) {
    throw Failure(kUsage, "--in-place needs a file");
  }
  Input input(options.input, options);
  const std::string& path = options.inPlace ? options.input : options.output;
  const Format& format = outputFormat(options, path, options.inPlace ? &input.format : nullptr);
  deliver(options, path, format, input.read(options), input.reporter);
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
    printText(options, value.ToString() + '\n', TextKind::kAnnotated);
  } else {
    std::string text;
    value.ToJSON(text, false);
    printText(options, text += '\n', TextKind::kJson);
  }
  return kDone;
}

// --- get -----------------------------------------------------------------------------------------

void declareGet(CLI::App& app, Options& options) {
  app.add_option("CHAIN", options.chain, "such as network/ports/[0]; . is the whole document")
      ->required();
  addInput(app, "FILE", options);
  addWriting(app, options);
  app.add_flag("-r,--raw", options.raw,
               "strings and timestamps without quotes, the bytes of a buffer");
  app.add_option("-d,--default", options.fallback, "what to print when there is no such member");
  app.add_flag("-e,--exit-status", options.exitStatus, "exit 1 when the member is null or false");
}

const Variant* findChain(const Variant& root, const std::string& chain) {
  if (chain.empty() || chain == ".") return &root;
  return root.GetKeyChain(V_ANY, chain, true);
}

int reportMissing(const Options& options, const Reporter& reporter) {
  if (!options.fallback) reporter.fail(kNotFound, "no member " + options.chain);
  printAsLine(*options.fallback);
  return kDone;
}

/// The types that have a raw form; false for all others.
bool printRaw(const Variant& value) {
  if (value == V_STRING) {
    printAsLine(value);
  } else if (value == V_TIMESTAMP) {
    printAsLine(vexo::utils::timevalToString(&static_cast<const timeval&>(value)));
  } else if (value == V_BINARY) {
    const VariantBuffer* buffer = value;
    print({reinterpret_cast<const char*>(buffer->data), buffer->size});
  } else {
    return false;
  }
  return true;
}

bool isNullOrFalse(const Variant& value) {
  return value == V_NULL || (value == V_BOOL && !static_cast<bool>(value));
}

int runGet(const Options& options) {
  Input input(options.input, options);
  const std::string path(kStandardStream);
  const Format& format = outputFormat(options, path, nullptr);
  const Variant value = input.read(options);
  const Variant* found = findChain(value, options.chain);
  if (found == nullptr) return reportMissing(options, input.reporter);
  if (!options.raw || !printRaw(*found)) {
    deliver(options, path, format, *found, input.reporter);
  }
  return options.exitStatus && isNullOrFalse(*found) ? kNotFound : kDone;
}

// --- diff ----------------------------------------------------------------------------------------

void declareDiff(CLI::App& app, Options& options) {
  app.add_option("A", options.input, "one file; - is standard input")->required();
  app.add_option("B", options.other, "the other file")->required();
  addReading(app, options);
  addQuiet(app, options, "no warnings and no differences, only the exit code");
}

int runDiff(const Options& options) {
  if (options.input == kStandardStream && options.other == kStandardStream) {
    throw Failure(kUsage, "only one of two files can be standard input");
  }
  const Variant left = Input(options.input, options).read(options);
  const Variant right = Input(options.other, options).read(options);
  const bool equal = options.quiet ? areEqual(left, right) : printDifferences(left, right);
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
    Input(path, options).read(options);
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
    {"convert", "Convert between formats", declareConvert, runConvert},
    {"show", "Show a tree with the types of its values", declareShow, runShow},
    {"get", "Print the member that a key chain leads to", declareGet, runGet},
    {"diff", "Print what two files differ in, one line each", declareDiff, runDiff},
    {"check", "Say which files do not parse", declareCheck, runCheck},
};

}  // namespace

std::span<const Command> commands() { return kCommands; }

}  // namespace tool

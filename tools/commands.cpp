#include "commands.h"

#include <sys/time.h>
#include <unistd.h>

#include <CLI/Validators.hpp>
#include <cstdlib>

#include "colour.h"
#include "formats.h"
#include "io.h"
#include "report.h"
#include "survey.h"
#include "vexo_utils/time.h"

namespace tool {

using namespace vexo::variant;

namespace {

// --- Options
// ---------------------------------------------------------------------------------------

CLI::Option* addFormat(CLI::App& app, const char* names, std::string& format, const char* help) {
  return app.add_option(names, format, help)->check(CLI::IsMember(formatNames()));
}

void addInput(CLI::App& app, const char* name, Options& options) {
  app.add_option(name, options.input, "the input; - (the default) is standard input");
  addFormat(app, "-p,--input-format", options.inputFormat,
            "format of the input (by default from the extension, then from the content)");
  app.add_flag("-q,--quiet", options.quiet, "no warnings");
}

void addColour(CLI::App& app, Options& options) {
  CLI::Option* on = app.add_flag("-C,--colour,--color", options.colour,
                                 "colours, even when the output is not a terminal");
  app.add_flag("-M,--monochrome", options.monochrome, "no colours")->excludes(on);
}

void addOutputFormat(CLI::App& app, Options& options) {
  addFormat(app, "-o,--output-format", options.outputFormat, "format of the output");
  app.add_flag("-c,--compact", options.compact, "JSON on one line");
  addColour(app, options);
}

// --- Input and output
// ------------------------------------------------------------------------------

struct Document {
  Reporter reporter;
  const Format* format = nullptr;
  Variant value = {};
};

const Format& inputFormat(const Options& options, Source& source) {
  const Format* format = options.inputFormat.empty() ? formatByExtension(options.input)
                                                     : formatByName(options.inputFormat);
  return format != nullptr ? *format : formatByContent(source.head());
}

Document load(const Options& options) {
  Document document{Reporter(inputName(options.input), options.quiet)};
  Source source(options.input, document.reporter);
  document.format = &inputFormat(options, source);
  document.format->read(source.readAll(document.format->maxInput), document.value,
                        document.reporter);
  return document;
}

bool wantsColour(const Options& options) {
  if (options.colour || options.monochrome) return options.colour;
  const char* noColour = std::getenv("NO_COLOR");
  return ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
}

void print(std::string text) {
  text += '\n';
  writeOutput(std::string(kStandardStream), text);
}

void printText(const Options& options, std::string text, TextKind kind) {
  print(wantsColour(options) ? colourise(text, kind) : std::move(text));
}

/// Writes a value in a format to standard output or to a file.
void deliver(const Options& options, const std::string& path, const Format& format,
             const Variant& value, const Reporter& reporter) {
  std::string bytes = format.write(value, options.compact, reporter);
  if (format.isText && path == kStandardStream) {
    printText(options, std::move(bytes), TextKind::kJson);
  } else {
    if (format.isText) bytes += '\n';
    writeOutput(path, bytes);
  }
}

// --- convert
// ---------------------------------------------------------------------------------------

void declareConvert(CLI::App& app, Options& options) {
  addInput(app, "IN", options);
  CLI::Option* output =
      app.add_option("OUT", options.output, "the output; - (the default) is standard output");
  addOutputFormat(app, options);
  app.add_flag("-i,--in-place", options.inPlace, "write back to IN")->excludes(output);
}

const Format& chosenOutputFormat(const Options& options, const Format* byDefault) {
  return *(options.outputFormat.empty() ? byDefault : formatByName(options.outputFormat));
}

const Format* formatOfOutputFile(const std::string& path) {
  const Format* format = formatByExtension(path);
  return format != nullptr ? format : formatByName("json");
}

int runConvert(const Options& options) {
  if (options.inPlace && options.input == kStandardStream) {
    throw Failure(kUsage, "--in-place needs a file");
  }
  const Document document = load(options);
  const std::string& path = options.inPlace ? options.input : options.output;
  const Format* byDefault = options.inPlace ? document.format : formatOfOutputFile(path);
  deliver(options, path, chosenOutputFormat(options, byDefault), document.value, document.reporter);
  return kDone;
}

// --- show
// ------------------------------------------------------------------------------------------

void declareShow(CLI::App& app, Options& options) {
  addInput(app, "FILE", options);
  addColour(app, options);
}

int runShow(const Options& options) {
  const Document document = load(options);
  const TextSurvey survey = surveyText(document.value);
  survey.warnOfLosses(document.reporter);
  if (survey.allowsIndent(document.reporter)) {
    printText(options, document.value.ToString(), TextKind::kAnnotated);
  } else {
    std::string text;
    document.value.ToJSON(text, false);
    printText(options, std::move(text), TextKind::kJson);
  }
  return kDone;
}

// --- get
// -------------------------------------------------------------------------------------------

void declareGet(CLI::App& app, Options& options) {
  app.add_option("CHAIN", options.chain, "such as network/ports/[0]; . is the whole document")
      ->required();
  addInput(app, "FILE", options);
  addOutputFormat(app, options);
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
  print(*options.fallback);
  return kDone;
}

/// The types that have a raw form; false for all others.
bool printRaw(const Variant& value) {
  if (value == V_STRING) {
    print(static_cast<const std::string&>(value));
  } else if (value == V_TIMESTAMP) {
    print(vexo::utils::timevalToString(&static_cast<const timeval&>(value)));
  } else if (value == V_BINARY) {
    const VariantBuffer* buffer = value;
    writeOutput(std::string(kStandardStream),
                {reinterpret_cast<const char*>(buffer->data), buffer->size});
  } else {
    return false;
  }
  return true;
}

bool isNullOrFalse(const Variant& value) {
  return value == V_NULL || (value == V_BOOL && !static_cast<bool>(value));
}

int runGet(const Options& options) {
  const Document document = load(options);
  const Variant* found = findChain(document.value, options.chain);
  if (found == nullptr) return reportMissing(options, document.reporter);
  if (!options.raw || !printRaw(*found)) {
    deliver(options, std::string(kStandardStream),
            chosenOutputFormat(options, formatByName("json")), *found, document.reporter);
  }
  return options.exitStatus && isNullOrFalse(*found) ? kNotFound : kDone;
}

constexpr Command kCommands[] = {
    {"convert", "Convert between formats", declareConvert, runConvert},
    {"show", "Show a tree with the types of its values", declareShow, runShow},
    {"get", "Print the member that a key chain leads to", declareGet, runGet},
};

}  // namespace

std::span<const Command> commands() { return kCommands; }

}  // namespace tool

// The command line: which command it names, its options, its help, and what is wrong with it.
#ifndef VEXO_TOOLS_COMMAND_LINE_H
#define VEXO_TOOLS_COMMAND_LINE_H

namespace tool {

/// Runs the command that the arguments of main ask for and returns its exit code, or throws a
/// Failure.
int runCommandLine(int count, char** values);

}  // namespace tool

#endif

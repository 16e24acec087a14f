// What the host process gives to every library: one way to log and one way to die.
#ifndef VEXO_HOST_HOST_H
#define VEXO_HOST_HOST_H

extern "C" {

/// Logs one message. `file` is the source area without extension ("src/variant_bin"), `function`
/// the name under which the message is known, `level` its severity: 3 error, 4 notice, 7 debug. The
/// two integers behind it are always 0. The rest is as for printf.
///
/// The definition in the platform library writes one line to standard error. A program that defines
/// a function of this name itself takes precedence.
__attribute__((visibility("default"), format(printf, 8, 9))) void logInternal(
    const char* module, const char* file, const char* function, int line, int level, int, int,
    const char* format, ...);

/// Ends the process after a contract violation. The definition in the platform library aborts; a
/// program that defines a function of this name itself takes precedence. It must not return.
[[noreturn]] __attribute__((visibility("default"))) void forceCrash();
}

#endif

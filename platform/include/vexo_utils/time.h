// Timestamps as text: UTC, ISO 8601, microseconds.
#ifndef VEXO_UTILS_TIME_H
#define VEXO_UTILS_TIME_H

#include <sys/time.h>

#include <string>

namespace vexo::utils {

/// "2026-11-22T19:33:00.000250Z": always UTC, always six fractional digits. Years outside 0000 to
/// 9999 have a sign and at least four digits ("+10000-01-01T..."). A value whose microseconds lie
/// outside 0 to 999999 is written as "timeval(SECONDS,MICROSECONDS)".
__attribute__((visibility("default"))) std::string timevalToString(const timeval* time);

/// Reads exactly the texts that timevalToString writes; false, with `time` untouched, for all
/// others and for moments that this build's timeval cannot hold.
__attribute__((visibility("default"))) bool stringToTimeval(const char* text, unsigned int length,
                                                            timeval* time);

}  // namespace vexo::utils

#endif

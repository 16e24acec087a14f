// The command as the host of the library: it keeps what the library logs.
#ifndef VEXO_TOOLS_HOST_H
#define VEXO_TOOLS_HOST_H

namespace tool {

/// The last error message that the library logged, or "". Its wording is for developers, so it is
/// shown only as the reason for a failure that has no better one.
const char* lastLibraryError() noexcept;

}  // namespace tool

#endif

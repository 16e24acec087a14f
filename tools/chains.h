// Key chains as people write them.
#ifndef VEXO_TOOLS_CHAINS_H
#define VEXO_TOOLS_CHAINS_H

#include <string>
#include <string_view>

namespace tool {

/// The key chain that a path of jq or yq follows, as far as that is one: of `.a["b c"][0] | length`
/// it is a/b c/[0]. A dot for a path that begins with something else.
std::string chainOfPath(std::string_view path);

/// Ends the command for a key chain that would find something else than it says: GetKeyChain takes
/// [] for [0], [010] for [8], and an index beyond 64 bits for the nearest one.
void refuseMisleadingChain(const std::string& chain);

}  // namespace tool

#endif

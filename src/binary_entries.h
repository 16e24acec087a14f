// The ways in which a binary format reaches a caller: by two calls, into an IOBuffer, as a file.
#ifndef VEXO_VARIANT_SRC_BINARY_ENTRIES_H
#define VEXO_VARIANT_SRC_BINARY_ENTRIES_H

#include <cstdint>
#include <string>

#include "log_area.h"
#include "vexo_variant/variant.h"

namespace vexo::variant {

/// A two-call entry: while `length` is too small it only sets it.
using Encode = std::uint32_t (Variant::*)(std::uint8_t* buffer, std::uint32_t& length) const;
/// Returns how many of the bytes it took, or 0.
using Decode = std::uint32_t (Variant::*)(const std::uint8_t* bytes, std::uint32_t count);

/// A size as the interface tells it: 0, with a message, when it has more than 32 bits.
std::uint32_t encodedLength(std::uint64_t size, LogArea log, LogSite site);

/// Whether a two-call entry is to encode; if not, `length` becomes the required one.
bool fits(std::uint32_t required, std::uint32_t& length);

std::uint32_t appendEncoded(const Variant& value, Encode encode, vexo::utils::IOBuffer& output);

/// Writes the encoding as the whole content of a file.
bool writeEncodedFile(const Variant& value, Encode encode, const std::string& path, LogArea log,
                      LogSite site);

/// Reads a whole file and hands its bytes on; true when some were taken.
bool readEncodedFile(Variant& value, Decode decode, const std::string& path);

}  // namespace vexo::variant

#endif

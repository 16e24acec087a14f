// Base64 by RFC 4648: the standard alphabet, padded with '='.
#ifndef VEXO_UTILS_BASE64_H
#define VEXO_UTILS_BASE64_H

namespace vexo::utils {

/// Encodes `size` bytes. `outLen` holds the room in `out` on entry and the encoded length,
/// (size + 2) / 3 * 4, on return (the largest number where that is larger still). Returns the
/// number of characters written: the encoded length, or 0 when there is no room for it.
__attribute__((visibility("default"))) unsigned int b64(const unsigned char* data,
                                                        unsigned int size, unsigned char* out,
                                                        unsigned int& outLen);

/// Decodes `length` characters. `outLen` holds the room in `out` on entry and the decoded length on
/// return. Returns the number of bytes decoded; 0, with `outLen` 0, when the text is not canonical
/// base64 (length, alphabet, padding, and trailing bits that must be zero) or there is no room.
/// What `out` holds then is undefined.
__attribute__((visibility("default"))) unsigned int unb64(const unsigned char* text,
                                                          unsigned int length, unsigned char* out,
                                                          unsigned int& outLen);

}  // namespace vexo::utils

#endif

#pragma once

#include <cstdint>

// The MD5 message-digest algorithm of RFC 1321, as a context with three operations.

// Md5Context is a running hash: 88 bytes of plain data.
struct Md5Context {
  std::uint32_t state[4];
  std::uint32_t count[2];   // bits hashed, modulo 2^64, low word first
  std::uint8_t buffer[64];  // the tail of the input that does not fill a block yet
};
static_assert(sizeof(Md5Context) == 88);

inline constexpr std::uint32_t kMd5DigestBytes = 16;

// Starts a hash; the buffer is left as it is.
void Md5Init(Md5Context& context);

// Adds length bytes.
void Md5Update(Md5Context& context, const std::uint8_t* bytes, std::uint32_t length);

// Writes the digest and sets the whole context to zero, which is not the state that Md5Init makes.
void Md5Final(Md5Context& context, std::uint8_t (&digest)[kMd5DigestBytes]);

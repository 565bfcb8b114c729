#include "hash/Md5Engine.h"

#include <cstddef>
#include <cstring>
#include <iterator>

#include "foundation/ByteOrder.h"
#include "foundation/ValueBarrier.h"
#include "foundation/Wipe.h"
#include "hash/Md5Kernel.h"
#include "hash/Md5Steps.h"

using Cifra::Md5Blocks::kBlockBytes;
using Cifra::Md5Blocks::Transform;

namespace {

constexpr std::uint32_t kLengthOffset = 56;
constexpr std::uint8_t kPaddingStart = 0x80;

// Writes the padding, a bit and then zeros, from index to the end of a block; in whole words, which
// for the short messages that wait for it is faster than a call of memset.
void Pad(std::uint8_t (&block)[kBlockBytes], std::size_t index) {
  constexpr std::size_t kWordBytes = 8;
  const std::size_t shift = index % kWordBytes * 8;
  std::uint8_t* word = block + index / kWordBytes * kWordBytes;
  const std::uint64_t text = kx::LoadLittleEndian64(word) & ~(~std::uint64_t{0} << shift);
  kx::StoreLittleEndian64(text | std::uint64_t{kPaddingStart} << shift, word);
  const std::uint64_t zero =
      kx::ValueBarrier(std::uint64_t{0});  // or GCC would call memset after all
  while ((word += kWordBytes) != std::end(block)) {
    kx::StoreLittleEndian64(zero, word);
  }
}

}  // namespace

void Md5Init(Md5Context& context) {
  context.state[0] = 0x67452301;
  context.state[1] = 0xEFCDAB89;
  context.state[2] = 0x98BADCFE;
  context.state[3] = 0x10325476;
  context.count[0] = 0;
  context.count[1] = 0;
}

void Md5Update(Md5Context& context, const std::uint8_t* bytes, std::uint32_t length) {
  if (length == 0) {
    return;  // bytes may be null
  }
  std::uint32_t index = context.count[0] / 8 % kBlockBytes;
  context.count[0] += length << 3;
  context.count[1] += (context.count[0] < length << 3) + (length >> 29);
  if (index > 0) {
    const std::uint32_t missing = kBlockBytes - index;
    if (length < missing) {
      std::memcpy(context.buffer + index, bytes, length);
      return;
    }
    std::memcpy(context.buffer + index, bytes, missing);
    Transform(context.state, context.buffer, kBlockBytes);
    bytes += missing;
    length -= missing;
  }
  const std::uint32_t rest = length % kBlockBytes;
  Transform(context.state, bytes, length - rest);
  std::memcpy(context.buffer, bytes + length - rest, rest);
}

void Md5Final(Md5Context& context, std::uint8_t (&digest)[kMd5DigestBytes]) {
  const std::uint32_t index = context.count[0] / 8 % kBlockBytes;
  Pad(context.buffer, index);
  if (index >= kLengthOffset) {
    Transform(context.state, context.buffer, kBlockBytes);
    std::memset(context.buffer, 0, kLengthOffset);
  }
  kx::StoreLittleEndian32(context.count[0], context.buffer + kLengthOffset);
  kx::StoreLittleEndian32(context.count[1], context.buffer + kLengthOffset + 4);
  Transform(context.state, context.buffer, kBlockBytes);
  for (std::size_t i = 0; i < 4; ++i) {
    kx::StoreLittleEndian32(context.state[i], digest + 4 * i);
  }
  kx::Wipe(&context, sizeof(context));
}

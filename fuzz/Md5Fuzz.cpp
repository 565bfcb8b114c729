#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <iterator>

#include "Require.h"
#include "hash/Md5Engine.h"
#include "hash/Md5Kernel.h"
#include "reference/Md5Reference.h"

using namespace Cifra;

// The message is added in pieces whose lengths the fuzzer chooses.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Bytes = std::vector<std::uint8_t>;
  FuzzedDataProvider input(data, size);
  Bytes message;
  Md5Context context;
  Md5Init(context);
  while (input.remaining_bytes() > 0) {
    const Bytes piece = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegral<std::uint8_t>());
    Md5Update(context, piece.data(), static_cast<std::uint32_t>(piece.size()));
    message.insert(message.end(), piece.begin(), piece.end());
  }
  std::uint8_t digest[kMd5DigestBytes];
  Md5Final(context, digest);
  Fuzz::Require(Bytes(std::begin(digest), std::end(digest)) ==
                Reference::Md5(message.data(), message.size()));
  // The blocks by every kernel, from a state of zeros.
  const auto whole = static_cast<std::uint32_t>(message.size() / 64 * 64);
  std::uint32_t expected[4] = {};
  Md5Blocks::TransformScalar(expected, message.data(), whole);
  for (const Md5Blocks::Kernel& kernel : Md5Blocks::Kernels()) {
    std::uint32_t state[4] = {};
    if (kernel.rule.isUsable()) {
      kernel.transform(state, message.data(), whole);
      Fuzz::Require(std::equal(std::begin(state), std::end(state), expected));
    }
  }
  return 0;
}

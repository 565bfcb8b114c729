#pragma once

#include <algorithm>

#include "hash/Md5Engine.h"
#include "support/TestData.h"

// The MD5 engine with the test data's types.
namespace Cifra::Test {

inline Bytes Finish(Md5Context& context) {
  std::uint8_t digest[kMd5DigestBytes];
  Md5Final(context, digest);
  return Bytes(std::begin(digest), std::end(digest));
}

// The digest of a message added in pieces whose lengths nextPiece returns.
template <typename NextPiece>
Bytes Md5InPieces(const Bytes& message, NextPiece nextPiece) {
  Md5Context context;
  Md5Init(context);
  for (std::size_t done = 0; done < message.size();) {
    const std::size_t piece = std::min<std::size_t>(nextPiece(), message.size() - done);
    Md5Update(context, message.data() + done, static_cast<std::uint32_t>(piece));
    done += piece;
  }
  return Finish(context);
}

inline Bytes Md5(const Bytes& message) {
  return Md5InPieces(message, [&] { return message.size(); });
}

}  // namespace Cifra::Test

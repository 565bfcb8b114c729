#pragma once

#include <cstddef>
#include <initializer_list>

namespace client {

struct Algorithm {
  const char* name;  // as on the command line
  const char* tag;   // as in a list of digests
  std::size_t digits;
};
inline constexpr Algorithm kMd5{"md5", "MD5", 32};
inline constexpr Algorithm kSha256{"sha256", "SHA256", 64};

// The algorithm whose digests have so many hexadecimal digits; null when there is none.
inline const Algorithm* AlgorithmOfDigits(std::size_t digits) {
  for (const Algorithm* algorithm : {&kMd5, &kSha256}) {
    if (algorithm->digits == digits) {
      return algorithm;
    }
  }
  return nullptr;
}

}  // namespace client

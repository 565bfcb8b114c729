#pragma once

#include <windows.h>
#include <bcrypt.h>

#include <memory>

struct CngAlgorithmCloser {
  void operator()(BCRYPT_ALG_HANDLE algorithm) const { BCryptCloseAlgorithmProvider(algorithm, 0); }
};
struct CngHashCloser {
  void operator()(BCRYPT_HASH_HANDLE hash) const { BCryptDestroyHash(hash); }
};

// CngAlgorithm owns an open algorithm provider of the platform's CNG, CngHash a running hash.
using CngAlgorithm = std::unique_ptr<void, CngAlgorithmCloser>;
using CngHash = std::unique_ptr<void, CngHashCloser>;

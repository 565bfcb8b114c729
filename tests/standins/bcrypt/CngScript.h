#pragma once

#include <cstdint>

// The bcrypt.dll of the tests: a hashing service that fails on request, records every call and
// counts open handles. It hashes nothing: every digest is the bytes 1, 2, 3 ...
namespace Cifra::Test {

struct CngScript {
  const char* failingCall = nullptr;  // the export that fails, or null
  std::int32_t status = 0;            // with this status
  int openAlgorithms = 0;
  int openHashes = 0;
};

// CNG's status for a handle that is null, closed or finished.
inline constexpr std::int32_t kInvalidHandle = static_cast<std::int32_t>(0xC0000008);

// The exports by which a test controls the stand-in. CngCalls returns the calls since the last
// time, one per line: name and arguments, with handles as "algorithm", "hash" or "null".
using CngScriptFunction = CngScript*();
using CngCallsFunction = const char*();
inline constexpr char kCngScript[] = "CngScript";
inline constexpr char kCngCalls[] = "CngCalls";

}  // namespace Cifra::Test

#pragma once

#include <cstdint>
#include <string>

#include "system/ExitCode.h"

namespace client {

// What the platform's result for a signature comes down to.
struct Verdict {
  ExitCode code;
  const char* name;  // as in results and summaries, such as "untrusted root"
};

// All verdicts, in the order of the summary.
inline constexpr Verdict kVerdicts[] = {
    {ExitCode::kSuccess, "trusted"},
    {ExitCode::kUnsigned, "unsigned"},
    {ExitCode::kDamaged, "damaged"},
    {ExitCode::kUntrustedRoot, "untrusted root"},
    {ExitCode::kExpired, "expired"},
    {ExitCode::kRevoked, "revoked"},
    {ExitCode::kRevocationUnknown, "revocation unknown"},
    {ExitCode::kNotTrusted, "not trusted"},
    {ExitCode::kCannotRead, "cannot open"},
};

const char* VerdictName(ExitCode code);

// TrustResult is a result of the platform's trust service, with its meaning.
struct TrustResult {
  std::uint32_t code;
  ExitCode verdict;
  const char* name;   // the platform's name for the code; empty when this program knows none
  const char* words;  // what it says

  // Such as "0x800B0101".
  std::string Hex() const;
};

TrustResult ExplainTrustResult(std::int32_t result);

}  // namespace client

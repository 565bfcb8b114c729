#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "system/ExitCode.h"

namespace client {

// What the signatures of a file come down to, the gravest first. A file whose worst finding is
// that it could not be opened must not hide one that is bad.
enum class Verdict {
  kDamaged,
  kCrashed,   // the platform crashed while it verified the file
  kTimedOut,  // it did not end in time
  kRevoked,
  kDistrusted,
  kUntrustedRoot,
  kExpired,
  kNotTrusted,
  kWrongSigner,  // this and the next two: trusted, but against the policy of the command line
  kWeakDigest,
  kNoTimestamp,
  kUnsigned,
  kRevocationUnknown,
  kCannotOpen,
  kNotSignable,
  kTrusted,
};

// All verdicts, in the order of the summary.
inline constexpr Verdict kVerdicts[] = {
    Verdict::kTrusted,    Verdict::kUnsigned,          Verdict::kNotSignable,
    Verdict::kDamaged,    Verdict::kCrashed,           Verdict::kRevoked,
    Verdict::kDistrusted, Verdict::kUntrustedRoot,     Verdict::kExpired,
    Verdict::kNotTrusted, Verdict::kRevocationUnknown, Verdict::kWrongSigner,
    Verdict::kWeakDigest, Verdict::kNoTimestamp,       Verdict::kCannotOpen,
    Verdict::kTimedOut,
};

inline Verdict GraverOf(Verdict a, Verdict b) { return a < b ? a : b; }

// Its name in results and summaries, such as "untrusted root".
const char* NameOf(Verdict verdict);
// The verdict of this name; a hyphen may take the place of a blank.
std::optional<Verdict> VerdictNamed(std::string_view name);

ExitCode ExitCodeOf(Verdict verdict);

// TrustResult is a result of the platform's trust service, with its meaning.
struct TrustResult {
  std::uint32_t code;
  Verdict verdict;
  const char* name;   // the platform's name for the code; empty when this program knows none
  const char* words;  // what it says
};

TrustResult ExplainTrustResult(std::int32_t result);

// Such as "0x800B0101".
std::string CodeText(std::uint32_t code);

}  // namespace client

#pragma once

namespace client {

// ExitCode is the program's result. docs/cli.md lists the codes for users; numbers are
// never reused or changed.
enum class ExitCode : int {
  kSuccess = 0,
  kMismatch = 1,     // a digest is not the expected one
  kUsage = 2,        // the command line makes no sense
  kCannotRead = 3,   // an input cannot be opened or read
  kCannotWrite = 4,  // the output cannot be written
  kBadData = 5,      // the input is not what the command works on
  kBadKey = 6,       // there is no key, or it is not one
  kNoLibrary = 7,    // Cifra.dll is missing or cannot be used
  kInternal = 8,     // anything else

  // Verdicts on signatures; which of several is the program's is said in verify/Verdict.h.
  kDamaged = 10,
  kRevoked = 11,  // or explicitly distrusted
  kUntrustedRoot = 12,
  kExpired = 13,
  kNotTrusted = 14,
  kUnsigned = 15,
  kRevocationUnknown = 16,
  kCrashed = 17,      // the platform crashed while it verified a file
  kWrongSigner = 18,  // trusted, but signed by none of the wanted certificates
  kNoTimestamp = 19,  // trusted, but without the wanted time stamp
  kWeakDigest = 20,   // trusted, but with a weaker digest than wanted
  kNotSignable = 21,  // of a kind that holds no signature
  kTimedOut = 22,     // the verification of a file did not end in time

  kInterrupted = 130,  // as shells count Ctrl+C
};

}  // namespace client

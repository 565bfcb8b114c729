#pragma once

namespace client {

// ExitCode is what the program tells the shell. docs/cli.md lists the codes for users; numbers are
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

  // Verdicts on signatures, the gravest first.
  kDamaged = 10,
  kRevoked = 11,
  kUntrustedRoot = 12,
  kExpired = 13,
  kNotTrusted = 14,
  kUnsigned = 15,
  kRevocationUnknown = 16,
};

}  // namespace client

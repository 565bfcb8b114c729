#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "verify/Verdict.h"

namespace client {

class CifraLibrary;
struct ListedFile;

// A distinguished name: attribute types with their values, common name first, then by type. Values
// are as in the certificate, but for quotes and blanks at their ends, which the library takes off.
using Name = std::vector<std::pair<std::string, std::vector<std::string>>>;

// What is known of a signing certificate. Texts are UTF-8.
struct Signer {
  Name subject;
  Name issuer;
  std::string serial;
};

// One signature of a file: index 0 is the primary one.
struct Signature {
  std::size_t index = 0;
  TrustResult result;
  std::optional<Signer> signer;
  std::uint64_t timestamp = 0;  // milliseconds since 1970-01-01 00:00:00 UTC; 0 for none

  // "primary" or "secondary 1"
  std::string Position() const;
};

// Has the library verify a file, with an object of its own: the library's objects add up what they
// trust. Returns what was found at each position, at least one; a file without a signature gives
// one entry that says so. Failure kCannotRead when the file cannot be opened.
std::vector<Signature> ReadSignatures(const CifraLibrary& library, const ListedFile& file,
                                      bool isOnline);

}  // namespace client

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "verify/CertificateChain.h"
#include "verify/SignedMessage.h"
#include "verify/Verdict.h"

namespace client {

class CifraLibrary;
struct ListedFile;

// A distinguished name: attribute types with their values, common name first, then by type. Values
// are as in the certificate, but for quotes and blanks at their ends, which the library takes off.
using Name = std::vector<std::pair<std::string, std::vector<std::string>>>;

// What the library reports of a signing certificate. Texts are UTF-8.
struct Signer {
  Name subject;
  Name issuer;
  std::string serial;
};

// One signature of a file: index 0 is the primary one. Of one that the library did not verify only
// the program's own findings are there.
struct Signature {
  // From the library
  std::size_t index = 0;
  TrustResult result{};
  std::optional<Signer> signer;
  std::uint64_t timestamp = 0;  // milliseconds since 1970-01-01 00:00:00 UTC; 0: none was told

  // This program's own findings
  std::optional<CertificateFacts> certificate;
  std::optional<MessageFacts> message;
  std::optional<std::vector<ChainElement>> chain;

  // "primary" or "secondary 1"
  std::string Position() const;
};

// What was found in a file.
struct FileSignatures {
  std::vector<Signature> verified;  // at least one: an unsigned file gives one that says so
  std::vector<Signature> others;    // that the platform did not verify
  std::size_t foundByClient = 0;    // signatures in the file by this program's own reading
};

struct ReadingOptions {
  bool isOnline = false;
  bool wantsChain = false;
};

// Has the library verify a file, with an object of its own: the library's objects add up what they
// trust. Failure kCannotRead when the file cannot be opened.
FileSignatures ReadSignatures(const CifraLibrary& library, const ListedFile& file,
                              const ReadingOptions& options);

}  // namespace client

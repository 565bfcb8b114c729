#pragma once

#include <optional>
#include <string>
#include <vector>

#include "verify/CertificateFacts.h"
#include "verify/CryptHandles.h"

namespace client {

struct ListedFile;

// A time stamp as a signature holds it. It was not verified: that is the library's.
struct StampFacts {
  std::string kind;  // "RFC 3161" or "Authenticode"
  std::string time;  // ISO 8601, UTC; empty when it cannot be read
  std::optional<CertificateFacts> authority;
};

// What this program reads from the message that is a signature. Texts are UTF-8.
struct MessageFacts {
  std::string digest;      // algorithm with which the signer signed
  std::string fileDigest;  // algorithm of the digest over the file; empty when it cannot be told
  std::string programName;
  std::string url;
  std::optional<StampFacts> stamp;  // none: the message holds none
  std::optional<CertificateFacts> signer;
};

// SignedMessage is a PKCS #7 message with one signature, and the certificates that came with it.
class SignedMessage {
 public:
  explicit SignedMessage(MessageHandle opened);
  // Nothing for what is no such message.
  static std::optional<SignedMessage> Decode(Bytes encoded);

  // A catalog, for one, is such a message before it is signed.
  bool HasSigner() const;
  // Nothing when the message has no signer that could be read.
  std::optional<MessageFacts> Facts() const;
  // The messages that are held by this one's signature: a file's secondary signatures.
  std::vector<SignedMessage> Nested() const;

  HCERTSTORE Certificates() const { return certificates.get(); }

 private:
  std::vector<std::uint8_t> Parameter(DWORD type) const;
  std::string FileDigest() const;
  StampFacts Token() const;
  std::optional<StampFacts> StampOf(const CMSG_SIGNER_INFO& signer) const;
  std::optional<CertificateFacts> CertificateOf(const CMSG_SIGNER_INFO& signer) const;

  MessageHandle message;
  StoreHandle certificates;
};

// The signatures in a file, primary one first, found by the platform's message functions. Those of
// a script are also found where the platform has nothing that reads scripts. Empty when there is
// none or they cannot be read.
std::vector<SignedMessage> ReadMessages(const ListedFile& file);

}  // namespace client

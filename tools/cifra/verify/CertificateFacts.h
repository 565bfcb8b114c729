#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "verify/CryptHandles.h"
#include "verify/Der.h"

namespace client {

// The bytes that one of the platform's structures points to.
inline Bytes BytesOf(const CRYPT_DATA_BLOB& blob) { return {blob.pbData, blob.cbData}; }
inline Bytes BytesOf(const CRYPT_BIT_BLOB& blob) { return {blob.pbData, blob.cbData}; }

// What this program reads from a certificate by itself. Texts are UTF-8, times ISO 8601 in UTC.
struct CertificateFacts {
  std::string subject;  // exactly as the platform writes it, zero characters included
  std::string issuer;
  std::string serial;
  std::string sha256;  // of the encoded certificate, lower-case hexadecimal digits
  std::string sha1;
  std::string validFrom;
  std::string validTo;
  std::string keyType;   // "RSA", "EC", "DSA" or the name of the algorithm
  unsigned keyBits = 0;  // 0: unknown
  std::string curve;     // of an EC key
  std::string signatureAlgorithm;
  std::optional<std::vector<std::string>> extendedKeyUsages;  // none: the certificate names none
};

// Nothing for what is no certificate.
std::optional<CertificateFacts> ReadCertificate(Bytes encoded);
CertificateFacts FactsOf(const CERT_CONTEXT& certificate);

}  // namespace client

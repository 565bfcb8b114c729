#include "verify/AlgorithmNames.h"

#include <algorithm>
#include <iterator>

namespace client {
namespace {

struct Named {
  const char* objectId;
  const char* name;
};

constexpr Named kNames[] = {
    // Digests
    {"1.2.840.113549.2.2", "md2"},
    {"1.2.840.113549.2.5", "md5"},
    {"1.3.14.3.2.26", "sha1"},
    {"2.16.840.1.101.3.4.2.1", "sha256"},
    {"2.16.840.1.101.3.4.2.2", "sha384"},
    {"2.16.840.1.101.3.4.2.3", "sha512"},
    {"2.16.840.1.101.3.4.2.4", "sha224"},
    {"2.16.840.1.101.3.4.2.8", "sha3-256"},
    {"2.16.840.1.101.3.4.2.9", "sha3-384"},
    {"2.16.840.1.101.3.4.2.10", "sha3-512"},
    // Signatures
    {"1.2.840.113549.1.1.1", "rsaEncryption"},
    {"1.2.840.113549.1.1.2", "md2WithRSAEncryption"},
    {"1.2.840.113549.1.1.4", "md5WithRSAEncryption"},
    {"1.2.840.113549.1.1.5", "sha1WithRSAEncryption"},
    {"1.2.840.113549.1.1.10", "rsassaPss"},
    {"1.2.840.113549.1.1.11", "sha256WithRSAEncryption"},
    {"1.2.840.113549.1.1.12", "sha384WithRSAEncryption"},
    {"1.2.840.113549.1.1.13", "sha512WithRSAEncryption"},
    {"1.2.840.113549.1.1.14", "sha224WithRSAEncryption"},
    {"1.3.14.3.2.29", "sha1WithRSA"},
    {"1.2.840.10040.4.1", "dsaEncryption"},
    {"1.2.840.10040.4.3", "dsaWithSHA1"},
    {"2.16.840.1.101.3.4.3.2", "dsa_with_SHA256"},
    {"1.2.840.10045.2.1", "id-ecPublicKey"},
    {"1.2.840.10045.4.1", "ecdsa-with-SHA1"},
    {"1.2.840.10045.4.3.1", "ecdsa-with-SHA224"},
    {"1.2.840.10045.4.3.2", "ecdsa-with-SHA256"},
    {"1.2.840.10045.4.3.3", "ecdsa-with-SHA384"},
    {"1.2.840.10045.4.3.4", "ecdsa-with-SHA512"},
    {"1.3.101.112", "ED25519"},
    {"1.3.101.113", "ED448"},
    // Curves
    {"1.2.840.10045.3.1.7", "prime256v1"},
    {"1.3.132.0.10", "secp256k1"},
    {"1.3.132.0.33", "secp224r1"},
    {"1.3.132.0.34", "secp384r1"},
    {"1.3.132.0.35", "secp521r1"},
    {"1.3.36.3.3.2.8.1.1.7", "brainpoolP256r1"},
    {"1.3.36.3.3.2.8.1.1.11", "brainpoolP384r1"},
    {"1.3.36.3.3.2.8.1.1.13", "brainpoolP512r1"},
    // Key usages
    {"1.3.6.1.5.5.7.3.1", "serverAuth"},
    {"1.3.6.1.5.5.7.3.2", "clientAuth"},
    {"1.3.6.1.5.5.7.3.3", "codeSigning"},
    {"1.3.6.1.5.5.7.3.4", "emailProtection"},
    {"1.3.6.1.5.5.7.3.8", "timeStamping"},
    {"1.3.6.1.5.5.7.3.9", "OCSPSigning"},
    {"2.5.29.37.0", "anyExtendedKeyUsage"},
    {"1.3.6.1.4.1.311.2.1.21", "msCodeInd"},
    {"1.3.6.1.4.1.311.2.1.22", "msCodeCom"},
    {"1.3.6.1.4.1.311.10.3.1", "msCTLSign"},
};

struct DigestStrength {
  const char* name;
  unsigned bits;
};

constexpr DigestStrength kDigests[] = {
    {"md2", 64},     {"md5", 64},     {"sha1", 80},      {"sha224", 112},   {"sha256", 128},
    {"sha384", 192}, {"sha512", 256}, {"sha3-256", 128}, {"sha3-384", 192}, {"sha3-512", 256},
};

}  // namespace

std::string AlgorithmName(const std::string& objectId) {
  const auto* const known = std::ranges::find(kNames, objectId, &Named::objectId);
  return known == std::end(kNames) ? objectId : known->name;
}

unsigned DigestBits(const std::string& name) {
  const auto* const known = std::ranges::find(kDigests, name, &DigestStrength::name);
  return known == std::end(kDigests) ? 0 : known->bits;
}

}  // namespace client

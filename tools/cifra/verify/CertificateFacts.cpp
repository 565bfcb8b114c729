#include "verify/CertificateFacts.h"

#include <algorithm>
#include <array>
#include <bit>

#include "program/Hex.h"
#include "system/Unicode.h"
#include "verify/AlgorithmNames.h"
#include "verify/TimeText.h"

namespace client {
namespace {

// A zero character in a name does not end it.
std::string X500Text(CERT_NAME_BLOB name) {
  const DWORD size = CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, nullptr, 0);
  std::wstring text(size, L'\0');
  const DWORD written =
      CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, text.data(), size);
  text.resize(written == 0 ? 0 : written - 1);
  return ToUtf8(text);
}

std::string SerialText(const CRYPT_INTEGER_BLOB& serial) {
  std::vector<std::uint8_t> bytes(serial.pbData, serial.pbData + serial.cbData);
  std::ranges::reverse(bytes);
  return ToHex(bytes);
}

std::string Thumbprint(const CERT_CONTEXT& certificate, ALG_ID algorithm) {
  std::array<std::uint8_t, 64> digest{};
  auto size = static_cast<DWORD>(digest.size());
  if (!CryptHashCertificate(0, algorithm, 0, certificate.pbCertEncoded, certificate.cbCertEncoded,
                            digest.data(), &size)) {
    return {};
  }
  return ToHex(std::span(digest).first(size));
}

unsigned BitsOfInteger(Bytes integer) {
  while (!integer.empty() && integer[0] == 0) {
    integer = integer.subspan(1);
  }
  return integer.empty() ? 0
                         : static_cast<unsigned>((integer.size() - 1) * 8 +
                                                 static_cast<unsigned>(std::bit_width(integer[0])));
}

unsigned BitsOfRsaKey(Bytes key) {
  const std::optional<Bytes> numbers = DerReader(key).Next(DerReader::kSequence);
  const std::optional<Bytes> modulus =
      numbers ? DerReader(*numbers).Next(DerReader::kInteger) : std::nullopt;
  return modulus ? BitsOfInteger(*modulus) : 0;
}

// The prime's size is in the curve's parameters, the only curve here whose prime is no whole
// number of bytes is named.
unsigned BitsOfPoint(const std::string& curve, Bytes point) {
  constexpr std::uint8_t kUncompressed = 4;
  if (curve == "secp521r1") {
    return 521;
  }
  const bool isWhole = !point.empty() && point[0] == kUncompressed;
  return point.empty() ? 0 : static_cast<unsigned>((point.size() - 1) / (isWhole ? 2 : 1) * 8);
}

void ReadKey(const CERT_PUBLIC_KEY_INFO& info, CertificateFacts& facts) {
  const std::string algorithm = AlgorithmName(info.Algorithm.pszObjId);
  const Bytes key = BytesOf(info.PublicKey);
  const Bytes parameters = BytesOf(info.Algorithm.Parameters);
  if (algorithm == "rsaEncryption" || algorithm == "rsassaPss") {
    facts.keyType = "RSA";
    facts.keyBits = BitsOfRsaKey(key);
  } else if (algorithm == "id-ecPublicKey") {
    facts.keyType = "EC";
    if (const std::optional<Bytes> curve = DerReader(parameters).Next(DerReader::kObjectId)) {
      facts.curve = AlgorithmName(ObjectIdText(*curve));
    }
    facts.keyBits = BitsOfPoint(facts.curve, key);
  } else if (algorithm == "dsaEncryption") {
    facts.keyType = "DSA";
    facts.keyBits = BitsOfRsaKey(parameters);  // a sequence that begins with the prime
  } else {
    facts.keyType = algorithm;
  }
}

std::optional<std::vector<std::string>> KeyUsages(const CERT_INFO& info) {
  const CERT_EXTENSION* const extension =
      CertFindExtension(szOID_ENHANCED_KEY_USAGE, info.cExtension, info.rgExtension);
  const std::optional<Bytes> list =
      extension ? DerReader(BytesOf(extension->Value)).Next(DerReader::kSequence) : std::nullopt;
  if (!list) {
    return std::nullopt;
  }
  std::vector<std::string> usages;
  DerReader reader(*list);
  while (const std::optional<Bytes> usage = reader.Next(DerReader::kObjectId)) {
    usages.push_back(AlgorithmName(ObjectIdText(*usage)));
  }
  return usages;
}

}  // namespace

CertificateFacts FactsOf(const CERT_CONTEXT& certificate) {
  const CERT_INFO& info = *certificate.pCertInfo;
  CertificateFacts facts;
  facts.subject = X500Text(info.Subject);
  facts.issuer = X500Text(info.Issuer);
  facts.serial = SerialText(info.SerialNumber);
  facts.sha256 = Thumbprint(certificate, CALG_SHA_256);
  facts.sha1 = Thumbprint(certificate, CALG_SHA1);
  facts.validFrom = TimeText(info.NotBefore);
  facts.validTo = TimeText(info.NotAfter);
  facts.signatureAlgorithm = AlgorithmName(info.SignatureAlgorithm.pszObjId);
  facts.extendedKeyUsages = KeyUsages(info);
  ReadKey(info.SubjectPublicKeyInfo, facts);
  return facts;
}

std::optional<CertificateFacts> ReadCertificate(Bytes encoded) {
  const CertificateHandle certificate(CertCreateCertificateContext(
      X509_ASN_ENCODING, encoded.data(), static_cast<DWORD>(encoded.size())));
  return certificate ? std::optional(FactsOf(*certificate)) : std::nullopt;
}

}  // namespace client

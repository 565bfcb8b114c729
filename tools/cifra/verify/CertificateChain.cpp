#include "verify/CertificateChain.h"

#include "verify/TimeText.h"

namespace client {
namespace {

struct ErrorName {
  DWORD bit;
  const char* name;
};

constexpr ErrorName kErrors[] = {
    {CERT_TRUST_IS_NOT_TIME_VALID, "expired or not valid yet"},
    {CERT_TRUST_IS_REVOKED, "revoked"},
    {CERT_TRUST_IS_NOT_SIGNATURE_VALID, "bad signature"},
    {CERT_TRUST_IS_NOT_VALID_FOR_USAGE, "not for this usage"},
    {CERT_TRUST_IS_UNTRUSTED_ROOT, "untrusted root"},
    {CERT_TRUST_REVOCATION_STATUS_UNKNOWN, "revocation unknown"},
    {CERT_TRUST_IS_CYCLIC, "cyclic chain"},
    {CERT_TRUST_INVALID_EXTENSION, "invalid extension"},
    {CERT_TRUST_INVALID_POLICY_CONSTRAINTS, "invalid policy constraints"},
    {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, "invalid basic constraints"},
    {CERT_TRUST_INVALID_NAME_CONSTRAINTS, "invalid name constraints"},
    {CERT_TRUST_HAS_NOT_SUPPORTED_NAME_CONSTRAINT, "name constraint not supported"},
    {CERT_TRUST_HAS_NOT_DEFINED_NAME_CONSTRAINT, "name constraint not defined"},
    {CERT_TRUST_HAS_NOT_PERMITTED_NAME_CONSTRAINT, "name not permitted"},
    {CERT_TRUST_HAS_EXCLUDED_NAME_CONSTRAINT, "name excluded"},
    {CERT_TRUST_IS_OFFLINE_REVOCATION, "no revocation data at hand"},
    {CERT_TRUST_NO_ISSUANCE_CHAIN_POLICY, "no issuance policy"},
    {CERT_TRUST_IS_PARTIAL_CHAIN, "issuer not found"},
    {0x04000000, "explicitly distrusted"},
    {0x08000000, "critical extension not supported"},
    {0x00100000, "weak signature"},
};

// Every bit is named; one without a name here as a number.
std::vector<std::string> ErrorsOf(DWORD status) {
  std::vector<std::string> errors;
  for (const ErrorName& error : kErrors) {
    if (status & error.bit) {
      errors.emplace_back(error.name);
      status &= ~error.bit;
    }
  }
  for (DWORD bit = 1; bit != 0; bit <<= 1) {
    if (status & bit) {
      errors.push_back("error bit " + std::to_string(bit));
    }
  }
  return errors;
}

}  // namespace

std::optional<std::vector<ChainElement>> BuildChain(Bytes certificate, HCERTSTORE store,
                                                    std::uint64_t time) {
  const CertificateHandle end(CertCreateCertificateContext(X509_ASN_ENCODING, certificate.data(),
                                                           static_cast<DWORD>(certificate.size())));
  if (!end) {
    return std::nullopt;
  }
  constexpr DWORD kFromCache = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL |
                               CERT_CHAIN_REVOCATION_CHECK_CHAIN |
                               CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY;
  CERT_CHAIN_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  FILETIME at = FileTimeOf(time);
  const CERT_CHAIN_CONTEXT* built = nullptr;
  if (!CertGetCertificateChain(nullptr, end.get(), time == 0 ? nullptr : &at, store, &parameters,
                               kFromCache, nullptr, &built)) {
    return std::nullopt;
  }
  const ChainHandle chain(built);
  std::vector<ChainElement> elements;
  if (chain->cChain > 0) {
    const CERT_SIMPLE_CHAIN& first = *chain->rgpChain[0];
    for (const CERT_CHAIN_ELEMENT* element : std::span(first.rgpElement, first.cElement)) {
      elements.push_back(
          {FactsOf(*element->pCertContext), ErrorsOf(element->TrustStatus.dwErrorStatus)});
    }
  }
  return elements;
}

}  // namespace client

#include "verify/Verdict.h"

#include <algorithm>
#include <iterator>

namespace client {
namespace {

using enum Verdict;

// The codes of the platform's winerror.h that WinVerifyTrust is documented or known to give.
constexpr TrustResult kResults[] = {
    {0x00000000, kTrusted, "ERROR_SUCCESS", "the signature is valid and trusted"},
    {0x80090006, kDamaged, "NTE_BAD_SIGNATURE", "the signature is not that of the signed data"},
    {0x80092003, kNotTrusted, "CRYPT_E_FILE_ERROR", "the file could not be read"},
    {0x80092009, kDamaged, "CRYPT_E_NO_MATCH", "a part of the signature is missing"},
    {0x8009200D, kDamaged, "CRYPT_E_BAD_MSG", "the signature is not a well-formed message"},
    {0x8009200E, kDamaged, "CRYPT_E_NO_SIGNER", "the signature has no signer"},
    {0x80092010, kRevoked, "CRYPT_E_REVOKED", "the certificate is revoked"},
    {0x80092011, kRevocationUnknown, "CRYPT_E_NO_REVOCATION_DLL",
     "nothing here can tell whether the certificate is revoked"},
    {0x80092012, kRevocationUnknown, "CRYPT_E_NO_REVOCATION_CHECK",
     "whether the certificate is revoked could not be checked"},
    {0x80092013, kRevocationUnknown, "CRYPT_E_REVOCATION_OFFLINE",
     "the server that knows whether the certificate is revoked was not reached"},
    {0x80092014, kRevocationUnknown, "CRYPT_E_NOT_IN_REVOCATION_DATABASE",
     "the revocation data does not cover the certificate"},
    {0x80092026, kNotTrusted, "CRYPT_E_SECURITY_SETTINGS",
     "the security settings of this computer forbid it"},
    {0x80093100, kDamaged, "CRYPT_E_ASN1_ERROR", "the encoding of the signature is wrong"},
    {0x80093101, kDamaged, "CRYPT_E_ASN1_INTERNAL", "the encoding of the signature cannot be read"},
    {0x80093102, kDamaged, "CRYPT_E_ASN1_EOD", "the encoding of the signature ends too early"},
    {0x80093103, kDamaged, "CRYPT_E_ASN1_CORRUPT", "the encoding of the signature is damaged"},
    {0x80093104, kDamaged, "CRYPT_E_ASN1_LARGE", "a value in the signature is too large"},
    {0x80093105, kDamaged, "CRYPT_E_ASN1_CONSTRAINT",
     "a value in the signature is out of its bounds"},
    {0x80093106, kDamaged, "CRYPT_E_ASN1_MEMORY",
     "the encoding of the signature asks for too much memory"},
    {0x80093107, kDamaged, "CRYPT_E_ASN1_OVERFLOW", "a value in the signature overflows"},
    {0x80093108, kDamaged, "CRYPT_E_ASN1_BADPDU",
     "the signature is of a kind that is not supported"},
    {0x80093109, kDamaged, "CRYPT_E_ASN1_BADARGS", "the encoding of the signature cannot be read"},
    {0x8009310A, kDamaged, "CRYPT_E_ASN1_BADREAL", "a number in the signature is malformed"},
    {0x8009310B, kDamaged, "CRYPT_E_ASN1_BADTAG", "a value in the signature has the wrong type"},
    {0x8009310C, kDamaged, "CRYPT_E_ASN1_CHOICE",
     "a value in the signature is none of those allowed"},
    {0x8009310D, kDamaged, "CRYPT_E_ASN1_RULE", "the encoding of the signature breaks a rule"},
    {0x8009310E, kDamaged, "CRYPT_E_ASN1_UTF8", "a text in the signature is not UTF-8"},
    {0x80096001, kNotTrusted, "TRUST_E_SYSTEM_ERROR", "the trust service failed"},
    {0x80096002, kDamaged, "TRUST_E_NO_SIGNER_CERT", "the signer's certificate is missing"},
    {0x80096003, kDamaged, "TRUST_E_COUNTER_SIGNER", "a counter-signature is not valid"},
    {0x80096004, kDamaged, "TRUST_E_CERT_SIGNATURE",
     "the signature of the certificate cannot be verified"},
    {0x80096005, kDamaged, "TRUST_E_TIME_STAMP", "the time stamp is not valid"},
    {0x80096010, kDamaged, "TRUST_E_BAD_DIGEST", "the file was changed after it was signed"},
    {0x80096011, kDamaged, "TRUST_E_MALFORMED_SIGNATURE", "the signature is malformed"},
    {0x80096019, kNotTrusted, "TRUST_E_BASIC_CONSTRAINTS",
     "a certificate was used to issue another and may not"},
    {0x8009601E, kNotTrusted, "TRUST_E_FINANCIAL_CRITERIA",
     "a certificate does not meet the financial criteria"},
    {0x800B0001, kNotTrusted, "TRUST_E_PROVIDER_UNKNOWN", "the trust provider is not known"},
    {0x800B0002, kNotTrusted, "TRUST_E_ACTION_UNKNOWN", "the kind of verification is not known"},
    {0x800B0003, kUnsigned, "TRUST_E_SUBJECT_FORM_UNKNOWN",
     "the system knows no signatures in files of this kind"},
    {0x800B0004, kNotTrusted, "TRUST_E_SUBJECT_NOT_TRUSTED", "the signer is not trusted"},
    {0x800B0100, kUnsigned, "TRUST_E_NOSIGNATURE", "there is no signature"},
    {0x800B0101, kExpired, "CERT_E_EXPIRED",
     "a certificate has expired or is not valid yet, and no time stamp makes up for it"},
    {0x800B0102, kExpired, "CERT_E_VALIDITYPERIODNESTING",
     "a certificate is valid at other times than the one that issued it"},
    {0x800B0103, kNotTrusted, "CERT_E_ROLE", "a certificate is used in a role that is not its own"},
    {0x800B0104, kNotTrusted, "CERT_E_PATHLENCONST",
     "the chain of certificates is longer than one of them allows"},
    {0x800B0105, kNotTrusted, "CERT_E_CRITICAL", "a certificate has a critical unknown extension"},
    {0x800B0106, kNotTrusted, "CERT_E_PURPOSE", "a certificate is used for another purpose"},
    {0x800B0107, kNotTrusted, "CERT_E_ISSUERCHAINING",
     "a certificate was not issued by the one that it names"},
    {0x800B0108, kNotTrusted, "CERT_E_MALFORMED", "a certificate is malformed"},
    {0x800B0109, kUntrustedRoot, "CERT_E_UNTRUSTEDROOT",
     "the chain of certificates ends in a root that is not trusted here"},
    {0x800B010A, kUntrustedRoot, "CERT_E_CHAINING",
     "no chain of certificates leads to a trusted root"},
    {0x800B010B, kNotTrusted, "TRUST_E_FAIL", "the trust service gives no reason"},
    {0x800B010C, kRevoked, "CERT_E_REVOKED", "a certificate was revoked by its issuer"},
    {0x800B010D, kUntrustedRoot, "CERT_E_UNTRUSTEDTESTROOT",
     "the chain of certificates ends in a root for tests"},
    {0x800B010E, kRevocationUnknown, "CERT_E_REVOCATION_FAILURE",
     "whether a certificate is revoked could not be found out"},
    {0x800B010F, kNotTrusted, "CERT_E_CN_NO_MATCH", "the certificate is for another name"},
    {0x800B0110, kNotTrusted, "CERT_E_WRONG_USAGE", "the certificate is not for signing code"},
    {0x800B0111, kDistrusted, "TRUST_E_EXPLICIT_DISTRUST",
     "the certificate is explicitly distrusted here"},
    {0x800B0112, kNotTrusted, "CERT_E_UNTRUSTEDCA", "an issuer in the chain is not trusted"},
    {0x800B0113, kNotTrusted, "CERT_E_INVALID_POLICY", "a certificate has a policy not allowed"},
    {0x800B0114, kNotTrusted, "CERT_E_INVALID_NAME", "a certificate has a name not allowed"},
};

struct Words {
  Verdict verdict;
  ExitCode code;
  const char* name;
};

constexpr Words kWords[] = {
    {kTrusted, ExitCode::kSuccess, "trusted"},
    {kUnsigned, ExitCode::kUnsigned, "unsigned"},
    {kNotSignable, ExitCode::kNotSignable, "not signable"},
    {kDamaged, ExitCode::kDamaged, "damaged"},
    {kCrashed, ExitCode::kCrashed, "crashed"},
    {kTimedOut, ExitCode::kTimedOut, "timed out"},
    {kRevoked, ExitCode::kRevoked, "revoked"},
    {kDistrusted, ExitCode::kRevoked, "distrusted"},
    {kUntrustedRoot, ExitCode::kUntrustedRoot, "untrusted root"},
    {kExpired, ExitCode::kExpired, "expired"},
    {kNotTrusted, ExitCode::kNotTrusted, "not trusted"},
    {kRevocationUnknown, ExitCode::kRevocationUnknown, "revocation unknown"},
    {kWrongSigner, ExitCode::kWrongSigner, "wrong signer"},
    {kWeakDigest, ExitCode::kWeakDigest, "weak digest"},
    {kNoTimestamp, ExitCode::kNoTimestamp, "no time stamp"},
    {kCannotOpen, ExitCode::kCannotRead, "cannot open"},
};

const Words& WordsOf(Verdict verdict) {
  return *std::ranges::find(kWords, verdict, &Words::verdict);
}

}  // namespace

const char* NameOf(Verdict verdict) { return WordsOf(verdict).name; }

ExitCode ExitCodeOf(Verdict verdict) { return WordsOf(verdict).code; }

std::optional<Verdict> VerdictNamed(std::string_view name) {
  std::string wanted(name);
  std::ranges::replace(wanted, '-', ' ');
  const auto* const found = std::ranges::find(kWords, wanted, &Words::name);
  return found == std::end(kWords) ? std::nullopt : std::optional(found->verdict);
}

TrustResult ExplainTrustResult(std::int32_t result) {
  const auto code = static_cast<std::uint32_t>(result);
  const auto* const known = std::ranges::find(kResults, code, &TrustResult::code);
  return known != std::end(kResults)
             ? *known
             : TrustResult{code, kNotTrusted, "", "a result that this program does not know"};
}

std::string CodeText(std::uint32_t code) {
  std::string text = "0x";
  for (int shift = 28; shift >= 0; shift -= 4) {
    text += "0123456789ABCDEF"[(code >> shift) & 15];
  }
  return text;
}

}  // namespace client

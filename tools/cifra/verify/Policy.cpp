#include "verify/Policy.h"

#include <algorithm>

#include "verify/AlgorithmNames.h"

namespace client {
namespace {

constexpr std::size_t kSha1Digits = 40;
constexpr std::size_t kSha256Digits = 64;

unsigned BitsOf(const Record& digest) {
  return digest.is_string() ? DigestBits(digest.get<std::string>()) : 0;
}

void AddTrusted(const Record& signatures, std::vector<const Record*>& trusted) {
  for (const Record& signature : signatures) {
    if (VerdictOf(signature) == Verdict::kTrusted) {
      trusted.push_back(&signature);
    }
  }
}

const char* MeaningOf(Verdict verdict) {
  return verdict == Verdict::kWrongSigner  ? "trusted, but signed by none of the wanted signers"
         : verdict == Verdict::kWeakDigest ? "trusted, but its digest is weaker than wanted"
                                           : "trusted, but without a verified time stamp";
}

}  // namespace

bool Policy::AddSigner(const std::string& thumbprint) {
  std::string digits;
  for (const char c : thumbprint) {
    if (c != ' ' && c != ':') {
      digits += c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    }
  }
  const bool isHex = digits.find_first_not_of("0123456789abcdef") == digits.npos;
  if (!isHex || (digits.size() != kSha1Digits && digits.size() != kSha256Digits)) {
    return false;
  }
  signers.push_back(digits);
  return true;
}

bool Policy::Fulfils(Verdict step, const Record& signature) const {
  const Record& found = signature.at("client");
  const Record& certificate = found.at("certificate");
  const Record& message = found.at("message");
  if (step == Verdict::kWrongSigner) {
    const bool isVerified = certificate.is_object() && certificate.at("from") == "verification";
    return signers.empty() ||
           (isVerified && std::ranges::any_of(signers, [&](const std::string& wanted) {
              return certificate.at("sha256") == wanted || certificate.at("sha1") == wanted;
            }));
  }
  if (step == Verdict::kWeakDigest) {
    return minDigest.empty() ||
           (message.is_object() &&
            std::min(BitsOf(message.at("digest")), BitsOf(message.at("fileDigest"))) >=
                DigestBits(minDigest));
  }
  return !needsTimestamp ||
         (signature.at("timestamp") != "none" && signature.at("timestamp") != "unknown");
}

void Policy::ApplyTo(Record& record) const {
  if (VerdictOf(record) != Verdict::kTrusted) {
    return;
  }
  std::vector<const Record*> signatures;
  AddTrusted(record.at("signatures"), signatures);
  if (const Record& catalog = record.at("catalog"); catalog.contains("signatures")) {
    AddTrusted(catalog.at("signatures"), signatures);
  }
  for (const Verdict step : {Verdict::kWrongSigner, Verdict::kWeakDigest, Verdict::kNoTimestamp}) {
    std::erase_if(signatures, [&](const Record* signature) { return !Fulfils(step, *signature); });
    if (signatures.empty()) {
      record["verdict"] = NameOf(step);
      record["meaning"] = MeaningOf(step);
      return;
    }
  }
}

}  // namespace client

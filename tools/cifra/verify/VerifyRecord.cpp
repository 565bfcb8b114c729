#include "verify/VerifyRecord.h"

#include <algorithm>

#include "program/Report.h"
#include "verify/TimeText.h"

namespace client {
namespace {

Record NameJson(const Name& name) {
  Record object = Record::object();
  for (const auto& [type, values] : name) {
    object[type] = values;
  }
  return object;
}

Record ResultJson(Verdict verdict, const TrustResult& result) {
  return {{"verdict", NameOf(verdict)},
          {"code", CodeText(result.code)},
          {"name", OrNull(result.name)},
          {"meaning", result.words}};
}

Record CertificateJson(const CertificateFacts& facts) {
  return {
      {"subject", facts.subject},
      {"issuer", facts.issuer},
      {"serial", facts.serial},
      {"sha256", facts.sha256},
      {"sha1", facts.sha1},
      {"validFrom", facts.validFrom},
      {"validTo", facts.validTo},
      {"key",
       {{"type", facts.keyType},
        {"bits", facts.keyBits == 0 ? Record() : Record(facts.keyBits)},
        {"curve", OrNull(facts.curve)}}},
      {"signatureAlgorithm", facts.signatureAlgorithm},
      {"extendedKeyUsages", facts.extendedKeyUsages ? Record(*facts.extendedKeyUsages) : Record()}};
}

Record StampJson(const std::optional<StampFacts>& stamp) {
  return {{"kind", stamp ? stamp->kind : "none"},
          {"time", stamp ? OrNull(stamp->time) : Record()},
          {"authority", stamp && stamp->authority ? CertificateJson(*stamp->authority) : Record()}};
}

Record MessageJson(const MessageFacts& message) {
  return {{"digest", message.digest},
          {"fileDigest", OrNull(message.fileDigest)},
          {"programName", OrNull(message.programName)},
          {"url", OrNull(message.url)},
          {"timestamp", StampJson(message.stamp)}};
}

Record ChainJson(const std::vector<ChainElement>& chain) {
  Record array = Record::array();
  for (const ChainElement& element : chain) {
    Record object = CertificateJson(element.certificate);
    object["errors"] = element.errors;
    array.push_back(std::move(object));
  }
  return array;
}

// A certificate that the verification did not give out may still be in the file.
Record FindingsJson(const Signature& signature) {
  const std::optional<MessageFacts>& message = signature.message;
  const bool isVerified = signature.certificate.has_value();
  Record certificate;
  if (isVerified || (message && message->signer)) {
    certificate = CertificateJson(isVerified ? *signature.certificate : *message->signer);
    certificate["from"] = isVerified ? "verification" : "file";
  }
  return {{"certificate", certificate},
          {"message", message ? MessageJson(*message) : Record()},
          {"chain", signature.chain ? ChainJson(*signature.chain) : Record()}};
}

// That there is no time stamp is said only where the signature was seen to hold none.
std::string TimestampText(const Signature& signature) {
  if (signature.timestamp != 0) {
    return TimeText(signature.timestamp);
  }
  return signature.message && !signature.message->stamp ? "none" : "unknown";
}

bool HasZero(const std::string& text) { return text.find('\0') != text.npos; }

Record SignatureJson(const Signature& signature) {
  Record object{{"position", signature.Position()}};
  object.update(ResultJson(signature.result.verdict, signature.result));
  const std::optional<Signer>& signer = signature.signer;
  object["subject"] = signer ? NameJson(signer->subject) : Record();
  object["issuer"] = signer ? NameJson(signer->issuer) : Record();
  object["serial"] = signer ? Record(signer->serial) : Record();
  object["timestamp"] = TimestampText(signature);
  const std::optional<CertificateFacts>& certificate = signature.certificate;
  object["cut"] = certificate && (HasZero(certificate->subject) || HasZero(certificate->issuer));
  object["client"] = FindingsJson(signature);
  return object;
}

Record SignaturesJson(const FileSignatures& signatures) {
  Record array = Record::array();
  for (const Signature& signature : signatures.verified) {
    if (signature.result.verdict != Verdict::kUnsigned) {
      array.push_back(SignatureJson(signature));
    }
  }
  return array;
}

Record OthersJson(const FileSignatures& signatures) {
  Record array = Record::array();
  for (const Signature& signature : signatures.others) {
    array.push_back({{"position", signature.Position()}, {"client", FindingsJson(signature)}});
  }
  return array;
}

Record CatalogJson(const Findings& findings) {
  if (!findings.isLookedUp) {
    return {};
  }
  if (!findings.catalog) {
    return {{"state", "unknown"}};
  }
  const CatalogSignature& catalog = *findings.catalog;
  if (catalog.path.empty()) {
    return {{"state", "none"}};
  }
  const TrustResult& result = GravestOf(catalog.signatures).result;
  Record object{{"state", "found"},
                {"file", catalog.path.substr(catalog.path.find_last_of("/\\") + 1)},
                {"path", catalog.path}};
  object.update(ResultJson(result.verdict, result));
  object["signatures"] = SignaturesJson(catalog.signatures);
  return object;
}

// The result that counts for the file: an unsigned file is as good as the catalog that lists it.
Record FileResultJson(const Findings& findings) {
  const TrustResult& embedded = GravestOf(findings.embedded).result;
  if (embedded.verdict != Verdict::kUnsigned) {
    return ResultJson(embedded.verdict, embedded);
  }
  if (findings.catalog && !findings.catalog->path.empty()) {
    const TrustResult& result = GravestOf(findings.catalog->signatures).result;
    return ResultJson(result.verdict, result);
  }
  return ResultJson(findings.kind.empty() ? Verdict::kNotSignable : Verdict::kUnsigned, embedded);
}

}  // namespace

const Signature& GravestOf(const FileSignatures& signatures) {
  return *std::ranges::min_element(
      signatures.verified, {}, [](const Signature& signature) { return signature.result.verdict; });
}

Record RecordOf(const Findings& findings) {
  Record record{{"kind", OrNull(findings.kind)}};
  record.update(FileResultJson(findings));
  record["signaturesFound"] = findings.embedded.foundByClient;
  record["signatures"] = SignaturesJson(findings.embedded);
  record["notVerified"] = OthersJson(findings.embedded);
  record["catalog"] = CatalogJson(findings);
  return record;
}

Record RecordOf(Verdict verdict, std::uint32_t code, const std::string& meaning) {
  return {{"kind", Record()},
          {"verdict", NameOf(verdict)},
          {"code", code == 0 ? Record() : Record(CodeText(code))},
          {"name", Record()},
          {"meaning", meaning},
          {"signaturesFound", Record()},
          {"signatures", Record::array()},
          {"notVerified", Record::array()},
          {"catalog", Record()}};
}

Verdict VerdictOf(const Record& record) {
  return VerdictNamed(record.at("verdict").get<std::string>()).value();
}

}  // namespace client

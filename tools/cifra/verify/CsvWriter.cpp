#include "program/Report.h"
#include "system/Console.h"
#include "verify/VerifyReport.h"

namespace client {
namespace {

// The fields of one certificate, empty ones for none.
void AddCertificate(const Record& certificate, std::vector<std::string>& fields) {
  if (certificate.is_null()) {
    fields.resize(fields.size() + 7);
    return;
  }
  const Record& usages = certificate.at("extendedKeyUsages");
  fields.insert(fields.end(),
                {TextOf(certificate.at("sha256")), TextOf(certificate.at("sha1")),
                 TextOf(certificate.at("validFrom")), TextOf(certificate.at("validTo")),
                 KeyText(certificate.at("key")), TextOf(certificate.at("signatureAlgorithm")),
                 usages.is_null() ? "" : Joined(usages, " ")});
}

void AddMessage(const Record& message, std::vector<std::string>& fields) {
  if (message.is_null()) {
    fields.insert(fields.end(), {"unknown", "unknown", "", "", "unknown", "", "", ""});
    return;
  }
  const Record& stamp = message.at("timestamp");
  const Record& authority = stamp.at("authority");
  fields.insert(fields.end(), {TextOf(message.at("digest")), TextOf(message.at("fileDigest")),
                               TextOf(message.at("programName")), TextOf(message.at("url")),
                               TextOf(stamp.at("kind")), TextOf(stamp.at("time")),
                               authority.is_null() ? "" : TextOf(authority.at("subject")),
                               authority.is_null() ? "" : TextOf(authority.at("sha256"))});
}

std::string SignatureLine(const Record& record, const Record& signature,
                          const std::string& catalog) {
  const Record& found = signature.at("client");
  std::vector<std::string> fields{TextOf(record.at("file")),
                                  TextOf(signature.at("position")),
                                  TextOf(signature.at("verdict")),
                                  TextOf(signature.at("code")),
                                  TextOf(signature.at("name")),
                                  TextOf(signature.at("meaning")),
                                  NameText(signature.at("subject")),
                                  NameText(signature.at("issuer")),
                                  TextOf(signature.at("serial")),
                                  TextOf(signature.at("timestamp")),
                                  TextOf(record.at("verdict")),
                                  TextOf(record.at("kind")),
                                  catalog};
  AddCertificate(found.at("certificate"), fields);
  AddMessage(found.at("message"), fields);
  return CsvLine(fields);
}

// The program's own findings of a signature that the platform did not verify.
std::string NotVerifiedLine(const Record& record, const Record& signature) {
  const Record& found = signature.at("client");
  std::vector<std::string> fields{TextOf(record.at("file")),
                                  TextOf(signature.at("position")),
                                  "not verified",
                                  "",
                                  "",
                                  "",
                                  "",
                                  "",
                                  "",
                                  "",
                                  TextOf(record.at("verdict")),
                                  TextOf(record.at("kind")),
                                  ""};
  AddCertificate(found.at("certificate"), fields);
  AddMessage(found.at("message"), fields);
  return CsvLine(fields);
}

std::string UnsignedLine(const Record& record) {
  const std::string verdict = TextOf(record.at("verdict"));
  std::vector<std::string> fields{TextOf(record.at("file")),
                                  "",
                                  verdict,
                                  TextOf(record.at("code")),
                                  TextOf(record.at("name")),
                                  TextOf(record.at("meaning")),
                                  "",
                                  "",
                                  "",
                                  "",
                                  verdict,
                                  TextOf(record.at("kind"))};
  constexpr std::size_t kFields = 28;
  fields.resize(kFields);
  return CsvLine(fields);
}

// A line for each signature; one for a file without any.
class CsvWriter final : public ReportWriter {
 public:
  void Begin(const RunFacts&) override {
    WriteOut(CsvLine({"file",
                      "position",
                      "verdict",
                      "code",
                      "name",
                      "meaning",
                      "subject",
                      "issuer",
                      "serial",
                      "timestamp",
                      "file_verdict",
                      "kind",
                      "catalog",
                      "sha256",
                      "sha1",
                      "valid_from",
                      "valid_to",
                      "key",
                      "signature_algorithm",
                      "key_usages",
                      "digest",
                      "file_digest",
                      "program",
                      "url",
                      "stamp_kind",
                      "stamp_time",
                      "stamp_authority",
                      "stamp_sha256"}));
  }

  void Add(const Record& record) override {
    std::string lines;
    for (const Record& signature : record.at("signatures")) {
      lines += SignatureLine(record, signature, "");
    }
    if (const Record& catalog = record.at("catalog"); catalog.contains("signatures")) {
      for (const Record& signature : catalog.at("signatures")) {
        lines += SignatureLine(record, signature, TextOf(catalog.at("file")));
      }
    }
    if (lines.empty()) {
      lines = UnsignedLine(record);
    }
    for (const Record& signature : record.at("notVerified")) {
      lines += NotVerifiedLine(record, signature);
    }
    WriteOut(lines);
  }

  void End(const Summary&, const RunFailure*) override {}
};

}  // namespace

std::unique_ptr<ReportWriter> MakeCsvWriter() { return std::make_unique<CsvWriter>(); }

}  // namespace client

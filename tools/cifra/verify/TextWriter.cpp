#include "system/Console.h"
#include "system/Unicode.h"
#include "verify/VerifyReport.h"

namespace client {
namespace {

std::string Line(std::size_t indentation, std::string label, const std::string& text) {
  constexpr std::size_t kLabelWidth = 12;
  label += ':';
  label.resize(std::max(kLabelWidth, label.size() + 1), ' ');
  return std::string(indentation, ' ') + label + EscapeForConsole(text) + "\n";
}

std::string ResultText(const Record& result) {
  const std::string code = TextOf(result.at("code"));
  const std::string name = TextOf(result.at("name"));
  return TextOf(result.at("verdict")) + " (" + code + (name.empty() ? "" : " " + name) +
         (code.empty() ? "" : ": ") + TextOf(result.at("meaning")) + ")";
}

std::string CertificateText(const Record& certificate) {
  constexpr std::size_t kIndentation = 6;
  const auto line = [](const char* label, const std::string& text) {
    return Line(kIndentation, label, text);
  };
  if (certificate.is_null()) {
    return line("certificate", "unknown");
  }
  const Record& usages = certificate.at("extendedKeyUsages");
  const bool isVerified = certificate.at("from") == "verification";
  return (isVerified ? "" : line("certificate", "the one in the file, not verified")) +
         line("subject", TextOf(certificate.at("subject"))) +
         line("issuer", TextOf(certificate.at("issuer"))) +
         (isVerified ? "" : line("serial", TextOf(certificate.at("serial")))) +
         line("SHA-256", TextOf(certificate.at("sha256"))) +
         line("SHA-1", TextOf(certificate.at("sha1"))) +
         line("valid",
              TextOf(certificate.at("validFrom")) + " to " + TextOf(certificate.at("validTo"))) +
         line("key", KeyText(certificate.at("key"))) +
         line("issued with", TextOf(certificate.at("signatureAlgorithm"))) +
         line("key usage", usages.is_null() ? "none named" : Joined(usages, ", "));
}

std::string StampText(const Record& stamp) {
  if (stamp.at("kind") == "none") {
    return "none";
  }
  const Record& authority = stamp.at("authority");
  const std::string time = TextOf(stamp.at("time"));
  return TextOf(stamp.at("kind")) + ", " + (time.empty() ? "unknown time" : time) + ", by " +
         (authority.is_null()
              ? "unknown"
              : TextOf(authority.at("subject")) + ", SHA-256 " + TextOf(authority.at("sha256")));
}

std::string MessageText(const Record& message) {
  constexpr std::size_t kIndentation = 6;
  if (message.is_null()) {
    return Line(kIndentation, "digest", "unknown") + Line(kIndentation, "time stamp", "unknown");
  }
  const std::string fileDigest = TextOf(message.at("fileDigest"));
  const std::string program = TextOf(message.at("programName"));
  const std::string url = TextOf(message.at("url"));
  std::string text = Line(kIndentation, "digest",
                          TextOf(message.at("digest")) + ", of the file " +
                              (fileDigest.empty() ? "unknown" : fileDigest));
  text += program.empty() ? "" : Line(kIndentation, "program", program);
  text += url.empty() ? "" : Line(kIndentation, "URL", url);
  return text + Line(kIndentation, "time stamp", StampText(message.at("timestamp")));
}

std::string ChainText(const Record& chain) {
  std::string text;
  for (const Record& element : chain) {
    const std::string errors = Joined(element.at("errors"), ", ");
    text += "      chain:      " + EscapeForConsole(TextOf(element.at("subject"))) + ", SHA-256 " +
            TextOf(element.at("sha256")) + (errors.empty() ? "" : ": " + errors) + "\n";
  }
  return text;
}

std::string FindingsText(const Record& found) {
  return "    found by cifra itself:\n" + CertificateText(found.at("certificate")) +
         MessageText(found.at("message")) + ChainText(found.at("chain"));
}

std::string SignatureText(const Record& signature) {
  constexpr std::size_t kIndentation = 4;
  std::string text = "  " + PositionText(signature) + ": " + ResultText(signature) + "\n";
  if (!signature.at("serial").is_null()) {
    const char* const cut = signature.at("cut").get<bool>() ? " (cut at a zero character)" : "";
    text += Line(kIndentation, "subject", NameText(signature.at("subject")) + cut) +
            Line(kIndentation, "issuer", NameText(signature.at("issuer")) + cut) +
            Line(kIndentation, "serial", TextOf(signature.at("serial")));
  }
  return text + Line(kIndentation, "time stamp", TextOf(signature.at("timestamp"))) +
         FindingsText(signature.at("client"));
}

std::string SignaturesText(const Record& signatures) {
  std::string text;
  for (const Record& signature : signatures) {
    text += SignatureText(signature);
  }
  return text;
}

std::string NotVerifiedText(const Record& signatures) {
  std::string text;
  for (const Record& signature : signatures) {
    text += "  " + PositionText(signature) + ": not verified by the system\n" +
            FindingsText(signature.at("client"));
  }
  return text;
}

std::string CatalogText(const Record& catalog) {
  if (catalog.is_null() || catalog.at("state") == "none") {
    return {};
  }
  if (catalog.at("state") == "unknown") {
    return "  catalog: unknown\n";
  }
  return "  signed by catalog " + EscapeForConsole(TextOf(catalog.at("file"))) + "\n" +
         SignaturesText(catalog.at("signatures"));
}

class TextWriter final : public ReportWriter {
 public:
  void Begin(const RunFacts&) override {}

  void Add(const Record& record) override {
    const std::string file = EscapeForConsole(TextOf(record.at("file"))) + ": ";
    const std::string verdict = TextOf(record.at("verdict"));
    const std::string signatures = SignaturesText(record.at("signatures")) +
                                   NotVerifiedText(record.at("notVerified")) +
                                   CatalogText(record.at("catalog"));
    if (verdict == NameOf(Verdict::kCannotOpen)) {
      WriteOut(file + verdict + "\n");
    } else if (record.at("signatures").empty()) {
      WriteOut(file + ResultText(record) + "\n" + signatures);
    } else {
      WriteOut(file + verdict + "\n" + signatures);
    }
  }

  void End(const Summary& summary, const RunFailure*) override {
    WriteOut("\n" + summary.Text() + "\n");
  }
};

}  // namespace

std::unique_ptr<ReportWriter> MakeTextWriter() { return std::make_unique<TextWriter>(); }

}  // namespace client

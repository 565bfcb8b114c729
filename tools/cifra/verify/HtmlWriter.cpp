#include <windows.h>
// After windows.h:
#include <wincrypt.h>

#include <array>
#include <string_view>

#include "page/PageParts.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/Unicode.h"
#include "verify/VerifyReport.h"

namespace client {
namespace {

// A text of somebody else's, for an element or an attribute between quotes.
std::string Escaped(const std::string& text) {
  std::string html;
  for (const char c : EscapeForConsole(text)) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

std::string Element(const char* name, const std::string& text, const char* cssClass = nullptr) {
  const std::string attribute = cssClass ? std::string(" class=\"") + cssClass + "\"" : "";
  return std::string("<") + name + attribute + ">" + Escaped(text) + "</" + name + ">";
}

// What the page's policy calls a script or style that may be used: the browser then takes no other,
// whatever gets into the page.
std::string DigestSource(std::string_view content) {
  std::array<BYTE, 32> digest{};
  auto size = static_cast<DWORD>(digest.size());
  std::array<char, 64> text{};
  auto textSize = static_cast<DWORD>(text.size());
  if (!CryptHashCertificate(0, CALG_SHA_256, 0, reinterpret_cast<const BYTE*>(content.data()),
                            static_cast<DWORD>(content.size()), digest.data(), &size) ||
      !CryptBinaryToStringA(digest.data(), size, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF,
                            text.data(), &textSize)) {
    throw Failure::OfSystem(ExitCode::kInternal, "the page", "cannot compute a digest");
  }
  std::string base64(text.data(), textSize);
  base64.resize(base64.find_last_not_of("\r\n") + 1);
  return "'sha256-" + base64 + "'";
}

std::string Entry(const char* label, const std::string& text, const char* cssClass = nullptr) {
  return text.empty() ? "" : Element("dt", label) + Element("dd", text, cssClass) + "\n";
}

std::string CertificateHtml(const Record& certificate) {
  if (certificate.is_null()) {
    return Entry("certificate", "unknown");
  }
  const Record& usages = certificate.at("extendedKeyUsages");
  const bool isFromFile = certificate.contains("from") && certificate.at("from") == "file";
  return (isFromFile ? Entry("certificate", "the one in the file, not verified") : "") +
         Entry("subject", TextOf(certificate.at("subject"))) +
         Entry("issuer", TextOf(certificate.at("issuer"))) +
         Entry("serial", TextOf(certificate.at("serial")), "code") +
         Entry("SHA-256", TextOf(certificate.at("sha256")), "code") +
         Entry("SHA-1", TextOf(certificate.at("sha1")), "code") +
         Entry("valid",
               TextOf(certificate.at("validFrom")) + " to " + TextOf(certificate.at("validTo"))) +
         Entry("key", KeyText(certificate.at("key"))) +
         Entry("issued with", TextOf(certificate.at("signatureAlgorithm"))) +
         Entry("key usage", usages.is_null() ? "none named" : Joined(usages, ", "));
}

std::string MessageHtml(const Record& message) {
  if (message.is_null()) {
    return Entry("digest", "unknown") + Entry("time stamp", "unknown");
  }
  const Record& stamp = message.at("timestamp");
  const Record& authority = stamp.at("authority");
  const std::string fileDigest = TextOf(message.at("fileDigest"));
  return Entry("digest", TextOf(message.at("digest"))) +
         Entry("of the file", fileDigest.empty() ? "unknown" : fileDigest) +
         Entry("program", TextOf(message.at("programName"))) +
         Entry("URL", TextOf(message.at("url"))) + Entry("time stamp", TextOf(stamp.at("kind"))) +
         Entry("its time", TextOf(stamp.at("time"))) +
         (authority.is_null() ? ""
                              : Entry("authority", TextOf(authority.at("subject"))) +
                                    Entry("its SHA-256", TextOf(authority.at("sha256")), "code"));
}

std::string ChainHtml(const Record& chain) {
  if (chain.is_null()) {
    return {};
  }
  std::string html =
      "<details><summary>Chain, built by cifra from what this computer has</summary>\n";
  for (const Record& element : chain) {
    const std::string errors = Joined(element.at("errors"), ", ");
    html += "<dl>" + CertificateHtml(element) + Entry("errors", errors.empty() ? "none" : errors) +
            "</dl><hr>\n";
  }
  return html + "</details>\n";
}

std::string FindingsHtml(const Record& found) {
  return Element("h3", "Found by cifra itself") + "<dl>" +
         CertificateHtml(found.at("certificate")) + MessageHtml(found.at("message")) + "</dl>\n" +
         ChainHtml(found.at("chain"));
}

std::string SignatureHtml(const Record& signature) {
  const char* const cut = signature.at("cut").get<bool>() ? " (cut at a zero character)" : "";
  const std::string subject = NameText(signature.at("subject"));
  const std::string issuer = NameText(signature.at("issuer"));
  return Element("h2", PositionText(signature)) + "<dl>" +
         Entry("verdict", TextOf(signature.at("verdict"))) +
         Entry("code", TextOf(signature.at("code")) + " " + TextOf(signature.at("name")), "code") +
         Entry("meaning", TextOf(signature.at("meaning"))) +
         Entry("subject", subject.empty() ? "" : subject + cut) +
         Entry("issuer", issuer.empty() ? "" : issuer + cut) +
         Entry("serial", TextOf(signature.at("serial")), "code") +
         Entry("time stamp", TextOf(signature.at("timestamp"))) + "</dl>\n" +
         FindingsHtml(signature.at("client"));
}

std::string NotVerifiedHtml(const Record& signatures) {
  std::string html;
  for (const Record& signature : signatures) {
    html += Element("h2", PositionText(signature) + ": not verified by the system") +
            FindingsHtml(signature.at("client"));
  }
  return html;
}

std::string SignaturesHtml(const Record& signatures) {
  std::string html;
  for (const Record& signature : signatures) {
    html += SignatureHtml(signature);
  }
  return html;
}

std::string CatalogHtml(const Record& catalog) {
  if (catalog.is_null()) {
    return {};
  }
  return catalog.contains("signatures")
             ? Element("h2", "Signed by catalog " + TextOf(catalog.at("file"))) +
                   SignaturesHtml(catalog.at("signatures"))
             : "<dl>" + Entry("catalog", TextOf(catalog.at("state"))) + "</dl>";
}

// The signatures that the file's verdict speaks of.
const Record& CountingSignatures(const Record& record) {
  const Record& catalog = record.at("catalog");
  return catalog.contains("signatures") ? catalog.at("signatures") : record.at("signatures");
}

std::string RowHtml(const Record& record) {
  const Record& signatures = CountingSignatures(record);
  std::string signer;
  std::string time;
  if (!signatures.empty()) {
    const Record& certificate = signatures[0].at("client").at("certificate");
    signer = certificate.is_null() ? NameText(signatures[0].at("subject"))
                                   : TextOf(certificate.at("subject"));
    time = TextOf(signatures[0].at("timestamp"));
  }
  return "<summary class=\"row\">" + Element("span", TextOf(record.at("file"))) +
         Element("span", TextOf(record.at("verdict")), "verdict") + Element("span", signer) +
         Element("span", time) + "</summary>\n";
}

class HtmlWriter final : public ReportWriter {
 public:
  void Begin(const RunFacts& facts) override {
    const std::string library = facts.dllVersion.empty() ? "of unknown version" : facts.dllVersion;
    const std::string data = facts.isOnline ? "revocation data from the network where needed"
                                            : "revocation data of this computer only";
    WriteOut(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src " +
        DigestSource(kPageStyle) + "; script-src " + DigestSource(kPageScript) +
        "; base-uri 'none'; form-action 'none'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<title>Signatures</title>\n<style>" +
        kPageStyle + "</style>\n</head>\n<body>\n<header><h1>Signatures</h1>" +
        Element("p", "Verified " + facts.time + " by cifra " CIFRA_VERSION ", Cifra.dll " +
                         library + ", with " + data) +
        "</header>\n<div id=\"tools\" hidden><input id=\"search\" type=\"search\" "
        "placeholder=\"Search names, signers, thumbprints\" aria-label=\"Search\">"
        "<select id=\"verdict\" aria-label=\"Verdict\"><option value=\"\">All verdicts</option>"
        "</select><button id=\"fold\" type=\"button\">Unfold all</button>"
        "<span id=\"shown\" role=\"status\"></span></div>\n<main id=\"files\">\n"
        "<div class=\"row head\"><span>File</span><span>Verdict</span><span>Signer</span>"
        "<span>Time stamp</span></div>\n");
  }

  void Add(const Record& record) override {
    const int gravity = static_cast<int>(VerdictOf(record));
    WriteOut("<details class=\"file\" data-verdict=\"" + Escaped(TextOf(record.at("verdict"))) +
             "\" data-gravity=\"" + std::to_string(gravity) + "\">" + RowHtml(record) +
             "<div class=\"body\"><dl>" + Entry("kind", TextOf(record.at("kind"))) +
             Entry("verdict", TextOf(record.at("verdict"))) +
             Entry("meaning", TextOf(record.at("meaning"))) + "</dl>\n" +
             SignaturesHtml(record.at("signatures")) + NotVerifiedHtml(record.at("notVerified")) +
             CatalogHtml(record.at("catalog")) + "</div></details>\n");
  }

  void End(const Summary& summary, const RunFailure* failure) override {
    WriteOut(
        "</main>\n<div id=\"summary\">" + Element("div", summary.Text()) +
        (failure ? Element("div", "The run ended early: " + failure->message, "failure") : "") +
        "</div>\n<script>" + kPageScript + "</script>\n</body>\n</html>\n");
  }
};

}  // namespace

std::unique_ptr<ReportWriter> MakeHtmlWriter() { return std::make_unique<HtmlWriter>(); }

}  // namespace client

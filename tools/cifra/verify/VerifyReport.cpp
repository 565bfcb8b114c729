#include "verify/VerifyReport.h"

#include <algorithm>
#include <utility>

#include "program/Report.h"

namespace client {
namespace {

// A value as the platform writes it into a name: between quotes, and those inside doubled, when it
// would otherwise be taken apart.
std::string ValueText(const std::string& value) {
  const bool needsQuotes = value.starts_with(' ') || value.ends_with(' ') ||
                           value.find_first_of(",+=#;<>\"\n") != std::string::npos;
  if (!needsQuotes) {
    return value;
  }
  std::string text = "\"";
  for (const char c : value) {
    text.append(c == '"' ? 2 : 1, c);
  }
  return text + '"';
}

std::unique_ptr<ReportWriter> MakeWriter(const std::string& format) {
  return format == kJsonFormat   ? MakeJsonWriter()
         : format == kCsvFormat  ? MakeCsvWriter()
         : format == kHtmlFormat ? MakeHtmlWriter()
                                 : MakeTextWriter();
}

}  // namespace

std::size_t Summary::Count(Verdict verdict) const {
  const auto found = verdicts.find(verdict);
  return found == verdicts.end() ? 0 : found->second;
}

Verdict Summary::Gravest() const {
  return verdicts.empty() ? Verdict::kTrusted : verdicts.begin()->first;
}

std::string Summary::Text() const {
  std::string text = "Files: " + std::to_string(files);
  for (const Verdict verdict : kVerdicts) {
    if (const std::size_t count = Count(verdict); count > 0) {
      text += std::string(", ") + NameOf(verdict) + ": " + std::to_string(count);
    }
  }
  return passedOver == 0
             ? text
             : text +
                   "; passed over, of kinds that hold no signature: " + std::to_string(passedOver);
}

VerifyReport::VerifyReport(const std::string& format, std::set<Verdict> shownVerdicts)
    : writer(MakeWriter(format)), shown(std::move(shownVerdicts)) {}

void VerifyReport::Add(const Record& record) {
  const Verdict verdict = VerdictOf(record);
  ++summary.files;
  ++summary.verdicts[verdict];
  if (shown.empty() || shown.contains(verdict)) {
    writer->Add(record);
  }
}

std::string NameText(const Record& name) {
  std::string text;
  for (const auto& [type, values] : name.items()) {
    for (const Record& value : values) {
      text += (text.empty() ? "" : ", ") + type + "=" + ValueText(value.get<std::string>());
    }
  }
  return text;
}

std::string PositionText(const Record& signature) {
  constexpr std::string_view kSecondary = "secondary";
  std::string position = TextOf(signature.at("position"));
  return position.insert(position.starts_with(kSecondary) ? kSecondary.size() : position.size(),
                         " signature");
}

std::string TextOf(const Record& value) {
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::string KeyText(const Record& key) {
  const std::string curve = TextOf(key.at("curve"));
  const Record& bits = key.at("bits");
  return TextOf(key.at("type")) + (curve.empty() ? "" : " " + curve) +
         (bits.is_null() ? "" : ", " + bits.dump() + " bits");
}

std::string Joined(const Record& texts, const char* separator) {
  std::string joined;
  for (const Record& text : texts) {
    joined += (joined.empty() ? "" : separator) + text.get<std::string>();
  }
  return joined;
}

}  // namespace client

#include "verify/VerifyReport.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "system/Console.h"
#include "system/Unicode.h"

namespace client {
namespace {

using Json = nlohmann::ordered_json;

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

std::string NameText(const Name& name) {
  std::string text;
  for (const auto& [type, values] : name) {
    for (const std::string& value : values) {
      text += (text.empty() ? "" : ", ") + type + "=" + ValueText(value);
    }
  }
  return text;
}

std::string Digits(unsigned value, std::size_t width) {
  const std::string text = std::to_string(value);
  return std::string(width - std::min(width, text.size()), '0') + text;
}

// ISO 8601 in UTC, with milliseconds; empty for 0, which means no time stamp. The library cannot
// tell times before 1970 apart: they come as negative numbers, modulo 2^64.
std::string TimeText(std::uint64_t milliseconds) {
  if (milliseconds == 0) {
    return {};
  }
  constexpr std::uint64_t kTicksIn1970 = 116444736000000000;  // since 1601, of 100 ns
  const std::uint64_t ticks = milliseconds * 10000 + kTicksIn1970;
  const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  SYSTEMTIME t{};
  const bool isBefore1970 = milliseconds > std::numeric_limits<std::int64_t>::max();
  if (isBefore1970 || !FileTimeToSystemTime(&time, &t)) {
    return "unknown";
  }
  return Digits(t.wYear, 4) + "-" + Digits(t.wMonth, 2) + "-" + Digits(t.wDay, 2) + "T" +
         Digits(t.wHour, 2) + ":" + Digits(t.wMinute, 2) + ":" + Digits(t.wSecond, 2) + "." +
         Digits(t.wMilliseconds, 3) + "Z";
}

std::string ResultText(const TrustResult& result) {
  const std::string name = *result.name ? std::string(" ") + result.name : "";
  return std::string(VerdictName(result.verdict)) + " (" + result.Hex() + name + ": " +
         result.words + ")";
}

Json NameJson(const Name& name) {
  Json object = Json::object();
  for (const auto& [type, values] : name) {
    object[type] = values;
  }
  return object;
}

Json ResultJson(const TrustResult& result) {
  return {{"verdict", VerdictName(result.verdict)},
          {"code", result.Hex()},
          {"name", OrNull(result.name)},
          {"meaning", result.words}};
}

Json SignatureJson(const Signature& signature) {
  Json object{{"position", signature.Position()}};
  object.update(ResultJson(signature.result));
  const std::optional<Signer>& signer = signature.signer;
  object["subject"] = signer ? NameJson(signer->subject) : Json();
  object["issuer"] = signer ? NameJson(signer->issuer) : Json();
  object["serial"] = signer ? Json(signer->serial) : Json();
  object["timestamp"] = OrNull(TimeText(signature.timestamp));
  return object;
}

Json OutcomeJson(const VerifyOutcome& outcome) {
  Json object{{"file", outcome.file}};
  if (const TrustResult* gravest = outcome.Gravest()) {
    object.update(ResultJson(*gravest));
  } else {
    object.update(Json{{"verdict", VerdictName(ExitCode::kCannotRead)},
                       {"code", Json()},
                       {"name", Json()},
                       {"meaning", outcome.error}});
  }
  object["signatures"] = Json::array();
  for (const Signature& signature : outcome.signatures) {
    if (signature.result.verdict != ExitCode::kUnsigned) {
      object["signatures"].push_back(SignatureJson(signature));
    }
  }
  return object;
}

std::string OutcomeCsv(const VerifyOutcome& outcome) {
  if (outcome.signatures.empty()) {
    return CsvLine({outcome.file, "", VerdictName(ExitCode::kCannotRead), "", "", outcome.error, "",
                    "", "", ""});
  }
  std::string lines;
  for (const Signature& signature : outcome.signatures) {
    const TrustResult& result = signature.result;
    const Signer signer = signature.signer.value_or(Signer{});
    const bool isUnsigned = result.verdict == ExitCode::kUnsigned;
    lines +=
        CsvLine({outcome.file, isUnsigned ? "" : signature.Position(), VerdictName(result.verdict),
                 result.Hex(), result.name, result.words, NameText(signer.subject),
                 NameText(signer.issuer), signer.serial, TimeText(signature.timestamp)});
  }
  return lines;
}

std::string OutcomeText(const VerifyOutcome& outcome) {
  const std::string file = EscapeForConsole(outcome.file);
  const TrustResult* gravest = outcome.Gravest();
  if (!gravest) {
    return file + ": " + VerdictName(ExitCode::kCannotRead) + "\n";
  }
  if (gravest->verdict == ExitCode::kUnsigned && outcome.signatures.size() == 1) {
    return file + ": " + ResultText(*gravest) + "\n";
  }
  std::string text = file + ": " + VerdictName(gravest->verdict) + "\n";
  for (const Signature& signature : outcome.signatures) {
    const std::string number = signature.index == 0 ? "" : " " + std::to_string(signature.index);
    text += (signature.index == 0 ? "  primary" : "  secondary") + (" signature" + number) + ": " +
            ResultText(signature.result) + "\n";
    if (signature.signer) {
      text += "    subject:    " + EscapeForConsole(NameText(signature.signer->subject)) + "\n";
      text += "    issuer:     " + EscapeForConsole(NameText(signature.signer->issuer)) + "\n";
      text += "    serial:     " + signature.signer->serial + "\n";
    }
    const std::string time = TimeText(signature.timestamp);
    text += "    time stamp: " + (time.empty() ? "none" : time) + "\n";
  }
  return text;
}

}  // namespace

const TrustResult* VerifyOutcome::Gravest() const {
  const TrustResult* gravest = nullptr;
  for (const Signature& signature : signatures) {
    const TrustResult& result = signature.result;
    const bool isBad = result.verdict != ExitCode::kSuccess;
    const bool isGraver =
        !gravest ||
        (isBad && (gravest->verdict == ExitCode::kSuccess || result.verdict < gravest->verdict));
    gravest = isGraver ? &result : gravest;
  }
  return gravest;
}

ExitCode VerifyOutcome::Verdict() const {
  const TrustResult* gravest = Gravest();
  return gravest ? gravest->verdict : ExitCode::kCannotRead;
}

VerifyReport::VerifyReport(const std::string& wantedFormat) : format(wantedFormat) {
  if (format == kCsvFormat) {
    WriteOut(CsvLine({"file", "position", "verdict", "code", "name", "meaning", "subject", "issuer",
                      "serial", "timestamp"}));
  } else if (format == kJsonFormat) {
    WriteOut("{\"files\": ");
  }
}

void VerifyReport::Add(const VerifyOutcome& outcome) {
  verdicts.push_back(outcome.Verdict());
  if (format == kJsonFormat) {
    json.Add(OutcomeJson(outcome));
  } else {
    WriteOut(format == kCsvFormat ? OutcomeCsv(outcome) : OutcomeText(outcome));
  }
}

void VerifyReport::End() {
  Json summary{{"files", verdicts.size()}};
  std::string text = "\nFiles: " + std::to_string(verdicts.size());
  for (const auto& [code, name] : kVerdicts) {
    const auto count = std::ranges::count(verdicts, code);
    summary[name] = count;
    text += count > 0 ? std::string(", ") + name + ": " + std::to_string(count) : "";
  }
  if (format == kJsonFormat) {
    json.End();
    WriteOut(",\"summary\": " + summary.dump() + "}\n");
  } else if (format == kTextFormat) {
    WriteOut(text + "\n");
  }
}

}  // namespace client

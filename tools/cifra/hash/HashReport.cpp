#include "hash/HashReport.h"

#include <nlohmann/json.hpp>

#include "system/Console.h"
#include "system/Unicode.h"

namespace client {
namespace {

// To programs names go as they are, to people so that none can pass for something else.
void WriteText(const std::string& line, char end) {
  WriteOut((OutputIsScreen() ? EscapeForConsole(line, Backslashes::kKept) : line) + end);
}

}  // namespace

const char* HashOutcome::Status() const {
  if (digest.empty()) {
    return "unreadable";
  }
  return expected.empty() ? "hashed" : digest == expected ? "ok" : "failed";
}

HashReport::HashReport(const Style& wanted) : style(wanted) {
  if (style.format == kCsvFormat) {
    WriteOut(CsvLine({"file", "algorithm", "digest", "expected", "status", "error"}));
  }
}

void HashReport::Add(const HashOutcome& outcome) {
  if (style.format == kCsvFormat) {
    WriteOut(CsvLine({outcome.file, outcome.algorithm->name, outcome.digest, outcome.expected,
                      outcome.Status(), outcome.error}));
  } else if (style.format == kJsonFormat) {
    json.Add({{"file", outcome.file},
              {"algorithm", outcome.algorithm->name},
              {"digest", OrNull(outcome.digest)},
              {"expected", OrNull(outcome.expected)},
              {"status", outcome.Status()},
              {"error", OrNull(outcome.error)}});
  } else if (!style.hidesText) {
    AddText(outcome);
  }
}

void HashReport::AddText(const HashOutcome& outcome) {
  if (outcome.expected.empty()) {
    if (!outcome.digest.empty()) {
      WriteText(FormatChecksumLine({outcome.algorithm, outcome.digest, outcome.file}, style.line),
                style.line.endsWithZero ? '\0' : '\n');
    }
    return;
  }
  const bool isOk = outcome.digest == outcome.expected;
  if (isOk && style.hidesOk) {
    return;
  }
  // As coreutils have it: here, only a line end makes the name an escaped one.
  const bool isEscaped = outcome.file.find('\n') != std::string::npos;
  WriteText((isEscaped ? "\\" + EscapedName(outcome.file) : outcome.file) +
                (isOk                     ? ": OK"
                 : outcome.digest.empty() ? ": FAILED open or read"
                                          : ": FAILED"),
            '\n');
}

void HashReport::End() {
  if (style.format == kJsonFormat) {
    json.End();
  }
}

}  // namespace client

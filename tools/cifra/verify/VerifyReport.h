#pragma once

#include <string>
#include <vector>

#include "program/Report.h"
#include "verify/SignatureReader.h"

namespace client {

// What became of one file: its signatures, or why it could not be opened.
struct VerifyOutcome {
  std::string file;
  std::vector<Signature> signatures;
  std::string error;

  // The gravest result of all signatures; null when the file could not be opened.
  const TrustResult* Gravest() const;
  ExitCode Verdict() const;
};

// VerifyReport writes outcomes to standard output as they come, and a summary.
class VerifyReport {
 public:
  explicit VerifyReport(const std::string& wantedFormat);
  void Add(const VerifyOutcome& outcome);
  void End();

 private:
  std::string format;
  JsonArray json;
  std::vector<ExitCode> verdicts;
};

}  // namespace client

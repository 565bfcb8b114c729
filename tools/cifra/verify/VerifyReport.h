#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "verify/Policy.h"
#include "verify/VerifyRecord.h"

namespace client {

inline constexpr char kHtmlFormat[] = "html";

// What holds for all files of a run.
struct RunFacts {
  std::string time;        // at which it began, ISO 8601 in UTC
  std::string dllVersion;  // empty: unknown
  std::string dllPath;     // empty: the library could not be loaded
  bool isOnline = false;
  bool usesCatalogs = true;
  Policy policy;
};

// How many files there were, by verdict.
struct Summary {
  std::size_t files = 0;
  std::map<Verdict, std::size_t> verdicts;
  std::size_t passedOver = 0;  // of kinds that hold no signature

  std::size_t Count(Verdict verdict) const;
  // The gravest verdict of all files.
  Verdict Gravest() const;
  // Such as "Files: 2, trusted: 1, unsigned: 1".
  std::string Text() const;
};

// What ended a run before its end.
struct RunFailure {
  ExitCode code;
  std::string message;
};

// ReportWriter writes a run in one format to standard output. End comes last, whatever happened,
// and leaves a whole document.
class ReportWriter {
 public:
  virtual ~ReportWriter() = default;
  virtual void Begin(const RunFacts& facts) = 0;
  virtual void Add(const Record& record) = 0;
  virtual void End(const Summary& summary, const RunFailure* failure) = 0;
};

std::unique_ptr<ReportWriter> MakeTextWriter();
std::unique_ptr<ReportWriter> MakeJsonWriter();
std::unique_ptr<ReportWriter> MakeCsvWriter();
std::unique_ptr<ReportWriter> MakeHtmlWriter();

// VerifyReport counts the files of a run and shows those whose verdict is wanted.
class VerifyReport {
 public:
  // Without wanted verdicts all files are shown.
  VerifyReport(const std::string& format, std::set<Verdict> shownVerdicts);

  void Begin(const RunFacts& facts) { writer->Begin(facts); }
  void Add(const Record& record);
  void PassOver() { ++summary.passedOver; }
  void End(const RunFailure* failure) { writer->End(summary, failure); }

  const Summary& Counts() const { return summary; }

 private:
  std::unique_ptr<ReportWriter> writer;
  std::set<Verdict> shown;
  Summary summary;
};

// A distinguished name of the library's as one text, such as CN=A, O="B, C".
std::string NameText(const Record& name);
// Such as "secondary signature 1".
std::string PositionText(const Record& signature);
// A text of a record; empty for null.
std::string TextOf(const Record& value);
// Such as "RSA, 2048 bits".
std::string KeyText(const Record& key);
std::string Joined(const Record& texts, const char* separator);

}  // namespace client

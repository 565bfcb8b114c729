#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "hash/ChecksumList.h"
#include "hash/DigestRun.h"

namespace client {

class HashReport;
class Problems;

struct CheckOptions {
  const Algorithm* algorithm = nullptr;  // null: what each line says
  bool isSilent = false;                 // no warnings
  bool isStrict = false;                 // a line in a wrong form is a failure
  bool warnsOfLines = false;
  bool ignoresMissing = false;
  std::size_t jobs = 1;
  std::string progress;
};

// ChecksumCheck reads lists of digests and compares them with the files that they name.
class ChecksumCheck {
 public:
  ChecksumCheck(const CheckOptions& wanted, const CifraLibrary& owner, HashReport& results,
                Problems& reported)
      : options(wanted), library(owner), report(results), problems(reported) {}

  // Failure kBadData for a list without a single line in the right form.
  void Run(const ListedFile& file);

 private:
  struct Counts {
    std::size_t goodLines = 0;
    std::size_t badLines = 0;
    std::size_t unreadable = 0;
    std::size_t wrong = 0;
    std::size_t verified = 0;
  };

  std::optional<DigestTask> NextTask(ChecksumList& list, Progress& progress, Counts& counts) const;
  DigestTask TaskOf(const ChecksumLine& line) const;
  void Judge(const DigestTask& task, const DigestResult& result, Counts& counts);
  void Conclude(const std::string& list, const Counts& counts);

  CheckOptions options;
  const CifraLibrary& library;
  HashReport& report;
  Problems& problems;
};

}  // namespace client

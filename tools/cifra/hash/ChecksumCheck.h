#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "hash/ChecksumLine.h"
#include "hash/Hasher.h"

namespace client {

class HashReport;
class Problems;
class Progress;

struct CheckOptions {
  const Algorithm* algorithm = nullptr;  // null: what each line says
  bool isSilent = false;                 // no warnings
  bool isStrict = false;                 // a line that is none is a failure
  bool warnsOfLines = false;
  bool ignoresMissing = false;
};

// ChecksumCheck reads lists of digests and compares them with the files that they name.
class ChecksumCheck {
 public:
  ChecksumCheck(const CheckOptions& wanted, Hasher& hashes, HashReport& results, Problems& reported)
      : options(wanted), hasher(hashes), report(results), problems(reported) {}

  // Failure kBadData for a list without a single line that is one.
  void Run(const std::wstring& path);

 private:
  struct Counts {
    std::size_t badLines = 0;
    std::size_t unreadable = 0;
    std::size_t wrong = 0;
    std::size_t verified = 0;
  };

  std::vector<ChecksumLine> ReadList(const std::wstring& path, Counts& counts);
  void Compare(const ChecksumLine& line, Progress& progress, Counts& counts);
  void Conclude(const std::wstring& path, const Counts& counts);

  CheckOptions options;
  Hasher& hasher;
  HashReport& report;
  Problems& problems;
};

}  // namespace client

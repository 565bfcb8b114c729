#pragma once

#include <string>

#include "hash/ChecksumLine.h"
#include "program/Report.h"

namespace client {

// What became of one file.
struct HashOutcome {
  std::string file;
  const Algorithm* algorithm = nullptr;
  std::string digest;    // empty when the file could not be read
  std::string expected;  // empty when nothing was
  std::string error;     // why it could not be read

  // hashed, ok, failed or unreadable
  const char* Status() const;
};

// HashReport writes outcomes to standard output as they come.
class HashReport {
 public:
  struct Style {
    std::string format = kTextFormat;
    ChecksumStyle line;
    bool hidesOk = false;    // no text for files that are as expected
    bool hidesText = false;  // no text at all
  };

  explicit HashReport(const Style& wanted);
  void Add(const HashOutcome& outcome);
  void End();

 private:
  void AddText(const HashOutcome& outcome);

  Style style;
  JsonArray json;
};

}  // namespace client

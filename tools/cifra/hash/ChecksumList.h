#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "hash/ChecksumLine.h"
#include "system/FileList.h"

namespace client {

// ChecksumList gives the lines of a list of digests one by one. Lists may be UTF-8 or UTF-16, with
// a byte-order mark, and have line ends of either kind.
class ChecksumList {
 public:
  // algorithm: the only one whose lines count; null for any. Failure kCannotRead.
  ChecksumList(const ListedFile& file, const Algorithm* algorithm);

  struct Line {
    std::size_t number = 0;
    std::optional<ChecksumLine> content;  // nothing for a line in a wrong form
  };

  // The next line that is neither empty nor a remark; nothing at the end.
  std::optional<Line> Next();
  void Rewind();

  // The list's name for messages.
  const std::string& Name() const { return name; }

 private:
  std::string name;
  bool isStandardInput;
  const Algorithm* algorithm;
  std::string text;
  std::size_t next = 0;
  std::size_t number = 0;
};

}  // namespace client

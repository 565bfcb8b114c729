#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "hash/Hasher.h"
#include "system/Failure.h"
#include "system/FileList.h"

namespace client {

struct DigestTask {
  ListedFile file;
  const Algorithm* algorithm = nullptr;
  std::string shown;                // the name for the user
  std::string expected;             // empty when no digest is
  bool isOptional = false;          // the file may be missing
  std::optional<Failure> obstacle;  // why the file is not even to be opened
};

struct DigestResult {
  std::string digest;  // empty when the file could not be read
  std::optional<Failure> failure;
  bool isMissing = false;  // an optional file that does not exist
};

// Digests files, several at once, and hands the results to take in the order of the tasks. next and
// take run on the caller's thread.
void DigestFiles(const CifraLibrary& library, Progress& progress, std::size_t jobs,
                 const std::function<std::optional<DigestTask>()>& next,
                 const std::function<void(const DigestTask&, DigestResult)>& take);

}  // namespace client

#pragma once

#include <cstdint>
#include <optional>

#include "system/ExitCode.h"
#include "verify/SignatureReader.h"

namespace client {

struct WorkerOptions {
  ReadingOptions reading;
  bool usesCatalogs = true;
  std::optional<std::uint64_t> timeout;  // seconds for each file; none: as long as it takes
};

// RunWorker verifies the files that standard input names, until it ends, and writes a record of
// each one to standard output: a file on which the platform crashes ends this process and no other.
ExitCode RunWorker(const WorkerOptions& options);

}  // namespace client

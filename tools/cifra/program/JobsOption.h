#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "program/CommandLine.h"

namespace client {

// JobsOption says how many files a command works on at once.
struct JobsOption {
  std::optional<std::uint64_t> given;

  // Failure kUsage for a number that makes no sense.
  std::size_t Or(std::size_t standard) const;
};

// How many processors this computer has; at least 1.
std::size_t ProcessorCount();

// Adds the option --jobs; standard is what the help names as the number without it.
void AddJobsOption(Command& command, JobsOption& option, const char* standard);

}  // namespace client

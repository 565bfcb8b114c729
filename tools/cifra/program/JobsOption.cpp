#include "program/JobsOption.h"

#include <algorithm>
#include <string>
#include <thread>

#include "system/Failure.h"

namespace client {
namespace {

constexpr std::uint64_t kMostJobs = 256;

}  // namespace

std::size_t JobsOption::Or(std::size_t standard) const {
  const std::uint64_t jobs = given.value_or(standard);
  if (jobs < 1 || jobs > kMostJobs) {
    throw Failure(ExitCode::kUsage, "--jobs: " + std::to_string(jobs) + " is not between 1 and " +
                                        std::to_string(kMostJobs));
  }
  return static_cast<std::size_t>(jobs);
}

std::size_t ProcessorCount() {
  return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMostJobs);
}

void AddJobsOption(Command& command, JobsOption& option, const char* standard) {
  command.Number("-j,--jobs", option.given, "N",
                 std::string("Work on N files at once; without it, on ") + standard);
}

}  // namespace client

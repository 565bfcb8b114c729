#pragma once

#include "system/ExitCode.h"

namespace client {

class Failure;

// Problems collects what goes wrong with single files while the run goes on with the others. Of
// several exit codes the smallest is the program's: they are numbered so that it is the gravest.
class Problems {
 public:
  // Tells the user and counts.
  void Report(const Failure& failure);
  // Counts only.
  void Add(ExitCode code);

  ExitCode Result() const { return result; }

 private:
  ExitCode result = ExitCode::kSuccess;
};

}  // namespace client

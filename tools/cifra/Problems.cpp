#include "Problems.h"

#include "Console.h"
#include "Failure.h"

namespace client {

void Problems::Report(const Failure& failure) {
  WriteMessage(failure.what());
  Add(failure.Code());
}

void Problems::Add(ExitCode code) {
  if (code != ExitCode::kSuccess && (result == ExitCode::kSuccess || code < result)) {
    result = code;
  }
}

}  // namespace client

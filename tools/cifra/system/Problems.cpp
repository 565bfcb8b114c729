#include "system/Problems.h"

#include "system/Console.h"
#include "system/Failure.h"

namespace client {

void Problems::Report(const Failure& failure) {
  WriteMessage(failure.Message(), failure.Advice());
  Add(failure.Code());
}

void Problems::Add(ExitCode code) {
  if (code != ExitCode::kSuccess && (result == ExitCode::kSuccess || code < result)) {
    result = code;
  }
}

}  // namespace client

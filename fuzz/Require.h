#pragma once

#include <cstdlib>

namespace Cifra::Fuzz {

// A fuzzer ends with a report of the input that made it abort.
inline void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

}  // namespace Cifra::Fuzz

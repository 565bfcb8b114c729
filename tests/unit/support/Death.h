#pragma once

#include <gtest/gtest.h>

#include <csignal>

// What is expected of a child process that kx::Fatal ends on the host.
namespace Cifra::Test {

inline bool EndedItself(int status) {
  return testing::KilledBySignal(SIGILL)(status) || testing::KilledBySignal(SIGTRAP)(status);
}

// All that the child wrote to its standard error: nothing.
inline constexpr char kSilence[] = "^$";

}  // namespace Cifra::Test

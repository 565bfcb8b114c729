#pragma once

#include <gtest/gtest.h>

#include <csignal>

// How kx::Fatal ends a child process on the host.
namespace Cifra::Test {

inline bool EndedItself(int status) {
  return testing::KilledBySignal(SIGILL)(status) || testing::KilledBySignal(SIGTRAP)(status);
}

// The child's standard error must be empty.
inline constexpr char kSilence[] = "^$";

}  // namespace Cifra::Test

#include <gtest/gtest.h>

#include "support/ChildProcess.h"

int main(int argc, char** argv) {
  Cifra::Test::ChildAction::RunIfAsked();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

#include "framework/CHeaderTest.h"

#include <gtest/gtest.h>

#include "support/LibraryUnderTest.h"

namespace {

TEST(CHeader, ExportedFunctions_ServeACProgram) {
  char decoded[64] = "";
  EXPECT_EQ(kCifraSuccess,
            RoundTripFromC(Cifra::Test::Library().encodeText, Cifra::Test::Library().decodeText,
                           "from C", decoded, sizeof(decoded)));
  EXPECT_STREQ("from C", decoded);
}

}  // namespace

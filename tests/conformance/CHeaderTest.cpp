#include "CHeaderTest.h"

#include <gtest/gtest.h>

#include "support/CifraLibrary.h"

namespace {

TEST(CHeader, ExportedFunctions_ServeACProgram) {
  char decoded[64] = "";
  EXPECT_EQ(kCifraSuccess, RoundTripFromC(test::Library().blowfishAndBase64Encode,
                                          test::Library().base64AndBlowfishDecode, "from C",
                                          decoded, sizeof(decoded)));
  EXPECT_STREQ("from C", decoded);
}

}  // namespace

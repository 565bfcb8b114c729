#include "framework/CHeaderTest.h"

#include <gtest/gtest.h>

#include "support/CifraLibrary.h"

namespace {

TEST(CHeader, ExportedFunctions_ServeACProgram) {
  char decoded[64] = "";
  EXPECT_EQ(kCifraSuccess, RoundTripFromC(Cifra::Test::Library().blowfishAndBase64Encode,
                                          Cifra::Test::Library().base64AndBlowfishDecode, "from C",
                                          decoded, sizeof(decoded)));
  EXPECT_STREQ("from C", decoded);
}

}  // namespace

#include <windows.h>
#include <gtest/gtest.h>

#include "SpoiledReturn.h"
#include "support/ChildProcess.h"
#include "support/Platform.h"

// Pointer authentication: a return address that an overflow replaced is not returned to.
namespace {

constexpr int kReturned = 11;
constexpr int kDiverted = 12;

void Diverted() { ExitProcess(kDiverted); }

const Cifra::Test::ChildAction kReturnNormally(L"ReturnNormally", [](const auto&) {
  Cifra::Test::ReturnTo(nullptr);
  return kReturned;
});

const Cifra::Test::ChildAction kReturnElsewhere(L"ReturnElsewhere", [](const auto&) {
  Cifra::Test::ReturnTo(&Diverted);
  return kReturned;
});

TEST(ReturnAddress, LeftAlone_IsReturnedTo) {
  EXPECT_EQ(std::uint32_t{kReturned}, Cifra::Test::RunChild(L"ReturnNormally").exitCode);
}

TEST(ReturnAddress, Spoiled_EndsTheProcess) {
  EXPECT_EQ(Cifra::Test::Platform().invalidReturn,
            Cifra::Test::RunChild(L"ReturnElsewhere").exitCode);
}

}  // namespace

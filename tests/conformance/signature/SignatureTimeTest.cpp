#include <gtest/gtest.h>

#include "signature/ScriptedWalk.h"

// Time stamps, from the trust service's file times to milliseconds since 1970.
namespace {

using Cifra::Test::Lines;
using Cifra::Test::ScriptedSignature;

constexpr DWORD kOtherType = 0x20;
constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr std::uint64_t kEpoch = 116'444'736'000'000'000;  // 1970 in ticks of 100 ns since 1601

class SignatureTime : public Cifra::Test::ScriptedWalk {
 protected:
  static FILETIME FileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  }
  static FILETIME At(std::uint64_t milliseconds) {
    return FileTime(kEpoch + milliseconds * kTicksPerMillisecond);
  }

  std::uint64_t TimestampOf(std::vector<ScriptedSignature::CounterSigner> counterSigners) {
    ScriptedSignature signature = Signed();
    signature.counterSigners = std::move(counterSigners);
    Walk({signature});
    log = Cifra::Test::WithoutTraces(log);
    log.erase(log.begin(), log.begin() + 3);  // issuer, subject, serial
    return chains.GetTail()->timestamp;
  }
};

TEST_F(SignatureTime, NoCounterSigner_Gives0AndALogLine) {
  EXPECT_EQ(0u, TimestampOf({}));
  EXPECT_EQ((Lines{"4 GetTimestamp: No counter signer found."}), log);
}

TEST_F(SignatureTime, CounterSignersOfOtherTypes_Give0AndALogLine) {
  EXPECT_EQ(0u, TimestampOf({{kOtherType, At(1)}, {0, At(2)}}));
  EXPECT_EQ((Lines{"4 GetTimestamp: No signer of type SGNR_TYPE_TIMESTAMP found."}), log);
  EXPECT_EQ("counter-signer 1", script.Events()[script.Events().size() - 2]);
}

TEST_F(SignatureTime, TheFirstTimeStamp_IsTaken) {
  EXPECT_EQ(2000u, TimestampOf({{kOtherType, At(1000)}, {0x10, At(2000)}, {0x10, At(3000)}}));
  EXPECT_EQ((Lines{"32 GetTimestamp: Systemtime : 01/01/1970 00:00"}), log);
}

TEST_F(SignatureTime, ACounterSignerThatIsNotGivenOut_IsPassedOver) {
  EXPECT_EQ(5u, TimestampOf({{0x10, At(1), true}, {0x10, At(5)}}));
}

TEST_F(SignatureTime, Milliseconds_AreKept) {
  EXPECT_EQ(1'700'000'000'123u, TimestampOf({{0x10, At(1'700'000'000'123)}}));
  EXPECT_EQ((Lines{"32 GetTimestamp: Systemtime : 11/14/2023 22:13"}), log);
  EXPECT_EQ(999u, TimestampOf({{0x10, FileTime(kEpoch + 999 * kTicksPerMillisecond + 9'999)}}));
}

TEST_F(SignatureTime, LeapDays_Count) {
  EXPECT_EQ(951'782'400'000u, TimestampOf({{0x10, At(951'782'400'000)}}));  // 2000-02-29
  EXPECT_EQ((Lines{"32 GetTimestamp: Systemtime : 02/29/2000 00:00"}), log);
}

TEST_F(SignatureTime, TimesAfter2038_Hold) {
  for (const std::uint64_t time : {2'147'483'648'000u, 4'102'444'800'000u, 32'503'679'999'999u}) {
    EXPECT_EQ(time, TimestampOf({{0x10, At(time)}}));
  }
}

// The runtime cannot express them: it returns -1, or the negative number of seconds.
TEST_F(SignatureTime, TimesBefore1970_ComeOutBeyondAllOthers) {
  const std::uint64_t time =
      TimestampOf({{0x10, FileTime(kEpoch - 60'000 * kTicksPerMillisecond)}});
  EXPECT_EQ((Lines{"32 GetTimestamp: Systemtime : 12/31/1969 23:59"}), log);
  const auto asSigned = static_cast<std::int64_t>(time);
  EXPECT_TRUE(asSigned == -1000 || asSigned == -60'000) << asSigned;
}

// Windows' runtime answers -1 for them, Wine's their number.
TEST_F(SignatureTime, TimesAfter3000_AreRightOrBeyondAllOthers) {
  const std::int64_t time = 32'535'216'000'000;  // 3001-01-01
  const auto asSigned = static_cast<std::int64_t>(TimestampOf({{0x10, At(time)}}));
  EXPECT_EQ((Lines{"32 GetTimestamp: Systemtime : 01/01/3001 00:00"}), log);
  EXPECT_TRUE(asSigned == -1000 || asSigned == time) << asSigned;
}

TEST_F(SignatureTime, MillisecondsBefore1970_AreAddedAll) {
  const std::uint64_t time =
      TimestampOf({{0x10, FileTime(kEpoch - (60'000 - 123) * kTicksPerMillisecond)}});
  const auto asSigned = static_cast<std::int64_t>(time);
  EXPECT_TRUE(asSigned == -1000 + 123 || asSigned == -60'000 + 123) << asSigned;
}

TEST_F(SignatureTime, AFileTimeWithoutADate_Gives0) {
  EXPECT_EQ(0u, TimestampOf({{0x10, FileTime(0x8000'0000'0000'0000)}}));
  EXPECT_EQ(Lines(), log);
}

}  // namespace

#include <gtest/gtest.h>

#include <functional>

#include "support/Death.h"
#include "support/Strings.h"

namespace Cifra::Test {
namespace {

template <typename Char>
class StringDeath : public testing::Test {};
TYPED_TEST_SUITE(StringDeath, CharTypes, CharTypeName);

// Damages the byte at an offset of a string's block and then applies an operation to the string.
template <typename Char>
void Damage(std::size_t offset, const std::function<void(String<Char>&)>& operation) {
  String<Char> string(Letters<Char>(5).c_str());
  BlockView<Char>(string).Damage(offset);
  operation(string);
}

TYPED_TEST(StringDeath, DamagedGuard_EndsTheProcessOnDestruction) {
  for (const std::size_t offset : {std::size_t{0}, std::size_t{3}, std::size_t{12}, std::size_t{15},
                                   BlockView<TypeParam>::TrailingGuardOffset(64),
                                   BlockView<TypeParam>::TrailingGuardOffset(64) + 3}) {
    EXPECT_EXIT(Damage<TypeParam>(offset, [](auto&) {}), EndedItself, kSilence) << offset;
  }
}

TYPED_TEST(StringDeath, DamagedGuard_EndsTheProcessOnEveryChange) {
  using Operation = std::function<void(String<TypeParam>&)>;
  const std::basic_string<TypeParam> text = Letters<TypeParam>(3);
  // Undetected damage ends the child with exit code 0, which fails the test.
  const Operation operations[] = {
      [&](auto& string) { string.Assign(text.c_str()); },
      [&](auto& string) { string.Assign(string.CStr()); },
      [&](auto& string) { string.Append(text.c_str()); },
      [&](auto& string) { string.Append(nullptr); },
      [&](auto& string) { string = text.c_str(); },
      [&](auto& string) { string.SetBuffer(100, true); },
      [&](auto& string) { string.ReleaseBuffer(1); },
      [&](auto& string) { string.ReleaseBuffer(); },
      [&](auto& string) { String<TypeParam> copy(string); },
      [&](auto& string) {
        String<TypeParam> copy;
        copy = string;
      },
  };
  for (const Operation& operation : operations) {
    const Operation operationAndExit = [&operation](auto& string) {
      operation(string);
      std::_Exit(0);
    };
    EXPECT_EXIT(Damage<TypeParam>(BlockView<TypeParam>::TrailingGuardOffset(64), operationAndExit),
                EndedItself, kSilence);
  }
}

// OverlappingMemMgr gives a header, and then a block whose last guard lies on the header's
// capacity: the change that writes the one destroys the other, and only its end can see it.
constexpr std::size_t kHeaderOffset = 128;
constexpr std::size_t kCapacityOffset = kHeaderOffset + 16;
alignas(16) unsigned char overlapping[256];

class OverlappingMemMgr final : public kx::IMemMgr {
 public:
  void* Allocate(std::size_t bytes) override {
    const bool isHeader = bytes == sizeof(kx::StringHeader);
    return overlapping + (isHeader ? kHeaderOffset : kCapacityOffset + 4 - bytes);
  }
  void* Reallocate(void*, std::size_t) override { return nullptr; }
  void Free(void*) override {}
  void Release() override {}
};

TYPED_TEST(StringDeath, GuardDamagedByTheChangeItself_EndsTheProcess) {
  const auto change = [] {
    kx::StringT<TypeParam, OverlappingMemMgr> string;
    string.SetBuffer(30, true);
    std::_Exit(0);
  };
  EXPECT_EXIT(change(), EndedItself, kSilence);
}

TYPED_TEST(StringDeath, TextWrittenBeyondTheBuffer_EndsTheProcess) {
  const auto overrun = [] {
    String<TypeParam> string;
    TypeParam* const buffer = string.GetBuffer(64);
    std::fill_n(buffer, 66, TypeParam{'x'});
    string.ReleaseBuffer(64);
  };
  EXPECT_EXIT(overrun(), EndedItself, kSilence);
}

TYPED_TEST(StringDeath, DamagedGuardOfAFixedBuffer_EndsTheProcess) {
  const auto damage = [] {
    kx::FixedStringBuffer<TypeParam> fixed;
    String<TypeParam> string(fixed);
    BlockView<TypeParam>(string).Damage(BlockView<TypeParam>::TrailingGuardOffset(260));
  };
  EXPECT_EXIT(damage(), EndedItself, kSilence);
}

TYPED_TEST(StringDeath, LengthBeyondTheCapacity_EndsTheProcess) {
  const auto release = [](std::size_t length) {
    String<TypeParam> string;
    string.GetBuffer(64);
    string.ReleaseBuffer(length);
  };
  EXPECT_EXIT(release(65), EndedItself, kSilence);
  EXPECT_EXIT(release(static_cast<std::size_t>(-2)), EndedItself, kSilence);
  EXPECT_EXIT(String<TypeParam>().ReleaseBuffer(1), EndedItself, kSilence);
}

TYPED_TEST(StringDeath, MissingTerminator_EndsTheProcess) {
  const auto release = [] {
    String<TypeParam> string;
    std::fill_n(string.GetBuffer(64), 65, TypeParam{'x'});
    string.ReleaseBuffer();
  };
  EXPECT_EXIT(release(), EndedItself, kSilence);
}

TYPED_TEST(StringDeath, NoMemory_EndsTheProcessWhereNoResultCanSayIt) {
  TestMemory memory;
  memory.allocationsUntilFailure = 0;
  const std::basic_string<TypeParam> text = Letters<TypeParam>(3);
  WatchedString<TypeParam> string;
  EXPECT_EXIT(string = text.c_str(), EndedItself, kSilence);
  EXPECT_EXIT(string.GetBuffer(1), EndedItself, kSilence);
  EXPECT_EXIT(WatchedString<TypeParam>(text.c_str()), EndedItself, kSilence);
}

}  // namespace
}  // namespace Cifra::Test

#include <gtest/gtest.h>

#include <cstring>

#include "foundation/string/StringT.h"
#include "support/ChildProcess.h"
#include "support/ImportPatch.h"

// The conditions under which a wide string ends the process, each in a child process.
namespace {

using WideString = kx::StringT<wchar_t>;

void* AllocateNothing(std::size_t) { return nullptr; }
void* ReallocateNothing(void*, std::size_t) { return nullptr; }

// Damages the four bytes at an offset from the string's first character.
void Damage(WideString& text, std::ptrdiff_t offset) {
  char* bytes = reinterpret_cast<char*>(text.GetBuffer(0)) + offset;
  std::memset(bytes, 0x55, 4);
}

std::ptrdiff_t TrailingGuard(const WideString& text) {
  return static_cast<std::ptrdiff_t>((text.Capacity() + 1) * sizeof(wchar_t));
}

const Cifra::Test::ChildAction kDestroyWithoutDamage(L"DestroyWithoutDamage", [](const auto&) {
  WideString text(L"text");
  text.GetBuffer(10)[9] = L'x';
  text.ReleaseBuffer();
  return 0;
});
const Cifra::Test::ChildAction kDestroyWithTrailingGuardDamaged(L"DestroyWithTrailingGuardDamaged",
                                                                [](const auto&) {
                                                                  WideString text(L"text");
                                                                  Damage(text, TrailingGuard(text));
                                                                  return 0;
                                                                });
const Cifra::Test::ChildAction kDestroyWithFirstGuardDamaged(L"DestroyWithFirstGuardDamaged",
                                                             [](const auto&) {
                                                               WideString text(L"text");
                                                               Damage(text, -16);
                                                               return 0;
                                                             });
const Cifra::Test::ChildAction kDestroyWithSecondGuardDamaged(L"DestroyWithSecondGuardDamaged",
                                                              [](const auto&) {
                                                                WideString text(L"text");
                                                                Damage(text, -4);
                                                                return 0;
                                                              });
const Cifra::Test::ChildAction kAssignFromDamaged(L"AssignFromDamaged", [](const auto&) {
  static WideString damaged(L"text");
  Damage(damaged, TrailingGuard(damaged));
  WideString copy;
  copy = damaged;
  return 0;
});
const Cifra::Test::ChildAction kReleaseBeyondCapacity(L"ReleaseBeyondCapacity", [](const auto&) {
  WideString text(L"text");
  text.ReleaseBuffer(text.Capacity() + 1);
  return 0;
});
const Cifra::Test::ChildAction kReleaseWithoutTerminator(L"ReleaseWithoutTerminator",
                                                         [](const auto&) {
                                                           WideString text(L"text");
                                                           // Fills the buffer, its last slot and
                                                           // the guard's first half.
                                                           wchar_t* buffer = text.GetBuffer(0);
                                                           for (std::size_t i = 0;
                                                                i <= text.Capacity(); ++i) {
                                                             buffer[i] = L'x';
                                                           }
                                                           text.ReleaseBuffer();
                                                           return 0;
                                                         });

// A string's code is compiled into its user: here this program's own allocations fail.
const Cifra::Test::ChildAction kAssignWithoutMemory(L"AssignWithoutMemory", [](const auto&) {
  const Cifra::Test::ImportPatch patch(GetModuleHandleW(nullptr), "malloc", &AllocateNothing);
  const WideString text(L"text");
  return 0;
});
const Cifra::Test::ChildAction kGrowWithoutMemory(L"GrowWithoutMemory", [](const auto&) {
  WideString text(L"text");
  const Cifra::Test::ImportPatch allocate(GetModuleHandleW(nullptr), "malloc", &AllocateNothing);
  const Cifra::Test::ImportPatch grow(GetModuleHandleW(nullptr), "realloc", &ReallocateNothing);
  text.GetBuffer(1000);
  return 0;
});

TEST(StringFatal, FailedAllocations_EndTheProcessSilently) {
  for (const wchar_t* action : {L"AssignWithoutMemory", L"GrowWithoutMemory"}) {
    const Cifra::Test::ChildResult child = Cifra::Test::RunChild(action);
    EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << action;
    EXPECT_EQ("", child.output) << action;
  }
}

TEST(StringFatal, UndamagedString_EndsNoProcess) {
  EXPECT_EQ(0u, Cifra::Test::RunChild(L"DestroyWithoutDamage").exitCode);
}

TEST(StringFatal, DamagedGuardsAndExcessiveLengths_EndTheProcessSilently) {
  for (const wchar_t* action : {L"DestroyWithTrailingGuardDamaged", L"DestroyWithFirstGuardDamaged",
                                L"DestroyWithSecondGuardDamaged", L"AssignFromDamaged",
                                L"ReleaseBeyondCapacity", L"ReleaseWithoutTerminator"}) {
    const Cifra::Test::ChildResult child = Cifra::Test::RunChild(action);
    EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << action;
    EXPECT_EQ("", child.output) << action;
  }
}

}  // namespace

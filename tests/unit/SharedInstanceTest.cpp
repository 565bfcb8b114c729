#include <windows.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "foundation/SharedInstance.h"
#include "support/ImportPatch.h"

// The bookkeeping that the registry and the log's client share. Each test has an instance of its
// own.
namespace Cifra::Test {
namespace {

struct Counted {
  Counted() { ++alive; }
  ~Counted() { --alive; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  static inline int alive = 0;
};

using Shared = kx::SharedInstance<Counted>;

TEST(SpinWord, LetsNobodyInWhileItIsTaken) {
  std::atomic<std::uint32_t> word{0};
  std::atomic<bool> isIn{false};
  std::thread other;
  {
    const kx::SpinLock lock(word);
    EXPECT_EQ(1u, word);
    other = std::thread([&] {
      const kx::SpinLock theSame(word);
      isIn = true;
    });
    SleepEx(100, FALSE);
    EXPECT_FALSE(isIn);
  }
  other.join();
  EXPECT_TRUE(isIn);
  EXPECT_EQ(0u, word);
}

TEST(SpinWord, KeepsACountThatThreadsChangeInSeveralSteps) {
  std::atomic<std::uint32_t> word{0};
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        const kx::SpinLock lock(word);
        const int before = count;
        SwitchToThread();
        count = before + 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(200, count);
}

// Of the thread that waits: the runtime's own code sleeps too.
std::atomic<DWORD> waiter{0};
std::atomic<int> sleeps{0};
std::atomic<int> otherSleeps{0};

void WINAPI RecordSleep(DWORD milliseconds) {
  if (GetCurrentThreadId() == waiter) {
    ++(milliseconds == 1 ? sleeps : otherSleeps);
  }
  SleepEx(milliseconds, FALSE);
}

TEST(SpinWord, SleepsForAMillisecondBetweenAttempts) {
  const ImportPatch patch(GetModuleHandleW(nullptr), "Sleep", &RecordSleep);
  std::atomic<std::uint32_t> word{1};
  std::atomic<bool> isIn{false};
  sleeps = otherSleeps = 0;
  std::thread other([&] {
    waiter = GetCurrentThreadId();
    const kx::SpinLock lock(word);
    waiter = 0;
    isIn = true;
  });
  while (sleeps < 3 && !isIn) {
    SwitchToThread();
  }
  EXPECT_FALSE(isIn);
  word = 0;
  other.join();
  EXPECT_EQ(0, otherSleeps);
  sleeps = 0;
  waiter = GetCurrentThreadId();
  const kx::SpinLock free(word);
  EXPECT_EQ(0, sleeps) << "a free lock needs no sleep";
}

TEST(SharedInstance, FirstUserBuildsIt_AndTheLastOneDestroysIt) {
  Shared shared;
  Counted* const first = shared.AddUser();
  EXPECT_EQ(first, shared.AddUser());
  EXPECT_EQ(2, shared.referenceCount);
  shared.RemoveUser();
  EXPECT_EQ(1, Counted::alive);
  shared.RemoveUser();
  EXPECT_EQ(0, Counted::alive);
  EXPECT_EQ(nullptr, shared.instance);
  EXPECT_FALSE(shared.HasUsers());
}

TEST(SharedInstance, OneThatIsStillSet_IsDestroyedBeforeTheNextIsBuilt) {
  Shared shared;
  shared.instance = new Counted;
  shared.AddUser();
  EXPECT_EQ(1, Counted::alive);
  shared.RemoveUser();
  EXPECT_EQ(0, Counted::alive);
}

TEST(SharedInstance, PinCount_CountsAsAUserUntilItIsReleased) {
  Shared shared;
  shared.AddUser();
  shared.pinCount = 2;
  shared.RemoveUser();
  EXPECT_TRUE(shared.HasUsers());
  EXPECT_EQ(1, Counted::alive);
  EXPECT_NE(nullptr, shared.AddUser());
  EXPECT_EQ(1, Counted::alive) << "a pinned one is not built again";
  shared.RemoveUser();
  EXPECT_EQ(1, Counted::alive);
  shared.RemoveUser();  // without a reference it takes the pins away
  EXPECT_EQ(0, shared.pinCount);
  EXPECT_EQ(0, Counted::alive);
}

TEST(SharedInstance, OneWithoutUsers_LosesNone) {
  Shared shared;
  shared.RemoveUser();
  EXPECT_EQ(0, shared.referenceCount);
  EXPECT_EQ(0, shared.pinCount);
  EXPECT_FALSE(shared.HasUsers());
}

TEST(SharedInstance, ExitHook_IsRegisteredWithTheFirstInstance) {
  Shared shared;
  EXPECT_FALSE(shared.exitHookRegistered);
  shared.AddUser();
  EXPECT_TRUE(shared.exitHookRegistered);
  shared.RemoveUser();
  EXPECT_TRUE(shared.exitHookRegistered);
}

}  // namespace
}  // namespace Cifra::Test

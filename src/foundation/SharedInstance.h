#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace kx {

// SpinLock is a lock of one word, 0 free and 1 taken, for short or rare sections; a waiter sleeps
// for 1 ms between attempts.
class SpinLock {
 public:
  explicit SpinLock(std::atomic<std::uint32_t>& word) : spinWord(word) {
    while (spinWord.exchange(1) != 0) {
      Sleep(1);
    }
  }
  ~SpinLock() { spinWord.store(0, std::memory_order_release); }
  SpinLock(const SpinLock&) = delete;
  SpinLock& operator=(const SpinLock&) = delete;

 private:
  std::atomic<std::uint32_t>& spinWord;
};

// SharedInstance manages the library's one T, which exists while it has users: the first user
// creates it and the last one destroys it. Both happen under the lock, which is therefore held
// while the logging client loads log.dll; other threads that log wait that long. Without a
// destructor, a T that is in use when the library is unloaded is left alone.
template <typename T>
struct SharedInstance {
  // Adds a user. An exception of T's constructor propagates and adds none.
  T* AddUser() {
    const SpinLock lock(spinWord);
    if (!HasUsers()) {
      DestroyInstance();
      instance = new T;
      exitHookRegistered = exitHookRegistered || std::atexit([] {}) == 0;
    }
    ++referenceCount;
    return instance;
  }

  void RemoveUser() {
    const SpinLock lock(spinWord);
    if (referenceCount > 0) {
      --referenceCount;
    } else if (pinCount > 0) {
      pinCount = 0;
    }
    if (!HasUsers()) {
      DestroyInstance();
    }
  }

  // When called without the lock, the answer may be outdated on return.
  bool HasUsers() const {
    return referenceCount.load(std::memory_order_relaxed) +
               pinCount.load(std::memory_order_relaxed) !=
           0;
  }

  void DestroyInstance() { delete std::exchange(instance, nullptr); }

  T* instance = nullptr;
  std::atomic<std::int32_t> referenceCount{0};
  std::atomic<std::int32_t> pinCount{0};  // counts like a reference, but is never raised
  std::atomic<std::uint32_t> spinWord{0};
  bool exitHookRegistered = false;  // the hook does nothing
};

template <typename T>
inline constinit SharedInstance<T> sharedInstance{};

// SharedRef is a handle to the shared T, its `registry`. It starts empty, counts the references it
// acquires and returns all of them on Release or destruction. Users acquire before they
// dereference; that an empty one acquires by itself then is part of the contract, and relied on
// nowhere.
template <typename T>
class SharedRef {
 public:
  SharedRef() = default;
  ~SharedRef() { Release(); }
  SharedRef(const SharedRef&) = delete;
  SharedRef& operator=(const SharedRef&) = delete;

  void Acquire() {
    registry = sharedInstance<T>.AddUser();
    ++count;
  }

  void Release() {
    registry = nullptr;
    while (--count >= 0) {
      sharedInstance<T>.RemoveUser();
    }
    ++count;  // undoes the decrement that ended the loop
  }

  T* operator->() {
    if (!registry) {
      Acquire();
    }
    return registry;
  }

 private:
  T* registry = nullptr;
  std::atomic<std::int32_t> count{0};
};

}  // namespace kx

#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <mutex>

namespace kx {

// SpinLock is a one-word lock for sections that are almost never contended; who finds it taken
// sleeps for a millisecond between attempts.
class SpinLock {
 public:
  void lock() {
    while (word.exchange(1) != 0) {
      Sleep(1);
    }
  }
  void unlock() { word.store(0, std::memory_order_release); }

 private:
  std::atomic<std::uint32_t> word{0};
};

// SharedInstance is the bookkeeping of the one T of the library: built when its first user comes,
// destroyed when its last user goes, and built afresh for the next one. T's constructor and
// destructor run under the lock. There is no destructor: what is still held when the library is
// unloaded stays as it is.
template <typename T>
class SharedInstance {
 public:
  // Adds a user. When T cannot be built the exception passes on and nothing has changed.
  T* AddUser() {
    const std::lock_guard guard(lock);
    if (users == 0) {
      instance = new T;
    }
    ++users;
    return instance;
  }

  void RemoveUser() {
    const std::lock_guard guard(lock);
    if (users == 0) {
      return;
    }
    --users;
    if (users == 0) {
      delete instance;
      instance = nullptr;
    }
  }

  // Read without the lock: the answer may be outdated by the time it arrives.
  bool HasUsers() const { return users.load(std::memory_order_relaxed) != 0; }

 private:
  T* instance = nullptr;
  std::atomic<std::int32_t> users{0};
  SpinLock lock;
};

template <typename T>
inline constinit SharedInstance<T> sharedInstance{};

// SharedRef is a handle on the shared T. It starts empty, counts the references it took and gives
// all of them back when it is released or destroyed. Used while it is empty, it acquires first.
template <typename T>
class SharedRef {
 public:
  SharedRef() = default;
  ~SharedRef() { Release(); }
  SharedRef(const SharedRef&) = delete;
  SharedRef& operator=(const SharedRef&) = delete;

  void Acquire() {
    instance = sharedInstance<T>.AddUser();
    ++count;
  }

  void Release() {
    instance = nullptr;
    while (--count >= 0) {
      sharedInstance<T>.RemoveUser();
    }
    ++count;  // takes back the decrement that ended the loop
  }

  T* operator->() {
    if (!instance) {
      Acquire();
    }
    return instance;
  }

 private:
  T* instance = nullptr;
  std::atomic<std::int32_t> count{0};
};

}  // namespace kx

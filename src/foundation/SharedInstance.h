#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <mutex>

namespace kx {

// SpinLock is a one-word lock for short or rare sections; a waiter sleeps for 1 ms between
// attempts.
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

// SharedInstance manages the library's one T, which exists while it has users: the first user
// creates it and the last one destroys it. Both happen under the lock, which is therefore held
// while the logging client loads log.dll; other threads that log wait that long. Without a
// destructor, a T that is in use when the library is unloaded is left alone.
template <typename T>
class SharedInstance {
 public:
  // Adds a user. An exception of T's constructor propagates and leaves everything unchanged.
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

  // Reads without the lock: the answer may be outdated on return.
  bool HasUsers() const { return users.load(std::memory_order_relaxed) != 0; }

 private:
  T* instance = nullptr;
  std::atomic<std::int32_t> users{0};
  SpinLock lock;
};

template <typename T>
inline constinit SharedInstance<T> sharedInstance{};

// SharedRef is a handle to the shared T. It starts empty, counts the references it acquires and
// returns all of them on Release or destruction. Dereferencing an empty one acquires first.
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
    ++count;  // undoes the decrement that ended the loop
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

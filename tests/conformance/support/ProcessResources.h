#pragma once

#include <windows.h>
// windows.h comes first
#include <psapi.h>

#include <cstdint>

// What the process holds. Wine does not count handles (GetProcessHandleCount gives 0).
namespace Cifra::Test {

// HandleWatch tells whether handles are left open: a new handle gets the lowest value that is free,
// so that it grows with every one that is.
class HandleWatch {
 public:
  // The platform takes a few for itself in the course of time; what leaks with each of thousands of
  // operations shows all the same.
  bool FindsNoLeak() const { return NextHandle() <= before + kTolerated; }

 private:
  static constexpr std::uintptr_t kTolerated = 16 * 4;  // sixteen handles

  static std::uintptr_t NextHandle() {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(event);
    return reinterpret_cast<std::uintptr_t>(event);
  }

  std::uintptr_t before = NextHandle();
};

// Bytes of memory that belong to the process alone.
inline std::size_t PrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PagefileUsage;
}

}  // namespace Cifra::Test

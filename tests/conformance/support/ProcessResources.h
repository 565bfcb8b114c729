#pragma once

#include <windows.h>
// windows.h comes first
#include <psapi.h>

#include <cstdint>

// The resources of the process. Wine does not count handles (GetProcessHandleCount returns 0).
namespace Cifra::Test {

// HandleWatch detects open handles: a new handle gets the lowest free value, which rises with every
// one left open.
class HandleWatch {
 public:
  // The platform itself opens a few over time; a leak in each of thousands of operations exceeds
  // them.
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

// The private bytes of the process.
inline std::size_t PrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PagefileUsage;
}

}  // namespace Cifra::Test

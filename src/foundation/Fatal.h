#pragma once

#if defined(_MSC_VER)
extern "C" __declspec(noreturn) void __fastfail(unsigned int code);
#pragma intrinsic(__fastfail)
#endif

namespace kx {

// Fatal ends the process at once and silently: nothing is written to a standard stream and none of
// the program's handlers run. It is for damaged memory, when no code can be trusted to run on. On
// Windows the exit code is 0xC0000409 (the platform's fail-fast exception).
[[noreturn]] inline void Fatal() noexcept {
#if defined(_MSC_VER)
  __fastfail(7);  // 7 = FAST_FAIL_FATAL_APP_EXIT
#elif defined(_WIN32) && defined(__aarch64__)
  register unsigned int code asm("w0") = 7;
  asm volatile("brk #0xf003" : : "r"(code));
  __builtin_unreachable();
#elif defined(_WIN32)
  asm volatile("int $0x29" : : "c"(7));
  __builtin_unreachable();
#else
  __builtin_trap();
#endif
}

// FatalUnless ends the process unless condition holds.
inline void FatalUnless(bool condition) noexcept {
  if (!condition) {
    Fatal();
  }
}

}  // namespace kx

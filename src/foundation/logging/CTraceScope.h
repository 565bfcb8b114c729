#pragma once

#include <cstddef>
#include <cstdint>

namespace logging {

// CTraceScope logs that a function is entered and, when the scope ends in whatever way, that it is
// left and how many milliseconds that took (modulo 2^32).
class CTraceScope {
 public:
  // function is cut to 259 characters, and to 257 where the messages show it with "()".
  explicit CTraceScope(const wchar_t* function);
  ~CTraceScope();
  CTraceScope(const CTraceScope&) = delete;
  CTraceScope& operator=(const CTraceScope&) = delete;

 private:
  static constexpr std::size_t kNameRoom = 260;  // characters, terminator included

  std::uint32_t startTime;
  wchar_t displayName[kNameRoom];
  wchar_t functionName[kNameRoom];
};

}  // namespace logging

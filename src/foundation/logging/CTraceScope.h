#pragma once

#include <cstddef>
#include <cstdint>

namespace logging {

// CTraceScope logs entry to a function and, at the end of the scope, return from it with the
// milliseconds in between (modulo 2^32).
class CTraceScope {
 public:
  // function is cut to 259 characters, and to 257 in the messages, which append "()".
  explicit CTraceScope(const wchar_t* function);
  ~CTraceScope();
  CTraceScope(const CTraceScope&) = delete;
  CTraceScope& operator=(const CTraceScope&) = delete;

 private:
  static constexpr std::size_t kNameSize = 260;  // characters, terminator included

  std::uint32_t startTime;
  wchar_t displayName[kNameSize];
  wchar_t functionName[kNameSize];
};

}  // namespace logging

#include "foundation/logging/CTraceScope.h"

#include <windows.h>
#include <timeapi.h>

#include <cwchar>

#include "foundation/logging/CLogDLL.h"

namespace logging {
namespace {

constexpr wchar_t kCallSign[] = L"()";
constexpr std::size_t kCallSignLength = 2;

}  // namespace

CTraceScope::CTraceScope(const wchar_t* function) : startTime(timeGetTime()) {
  wcsncpy_s(displayName, kNameRoom - kCallSignLength, function, _TRUNCATE);
  wcscat_s(displayName, kNameRoom, kCallSign);
  wcsncpy_s(functionName, kNameRoom, function, _TRUNCATE);
  LogAtDepth(+1, LogLevel::kInformation, functionName, L"-> %s", displayName);
}

CTraceScope::~CTraceScope() {
  const std::uint32_t elapsed = timeGetTime() - startTime;
  LogAtDepth(-1, LogLevel::kInformation, functionName, L"<- %s [%d]", displayName, elapsed);
}

}  // namespace logging

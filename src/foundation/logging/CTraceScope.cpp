#include "foundation/logging/CTraceScope.h"

#include <windows.h>
#include <timeapi.h>

#include <cwchar>

#include "foundation/logging/CLogDLL.h"

namespace logging {
namespace {

constexpr wchar_t kCallSuffix[] = L"()";
constexpr std::size_t kCallSuffixLength = 2;

}  // namespace

CTraceScope::CTraceScope(const wchar_t* function) : startTime(timeGetTime()) {
  wcsncpy_s(displayName, kNameSize - kCallSuffixLength, function, _TRUNCATE);
  wcscat_s(displayName, kNameSize, kCallSuffix);
  wcsncpy_s(functionName, kNameSize, function, _TRUNCATE);
  LogAtDepth(+1, LogLevel::kInformation, functionName, L"-> %s", displayName);
}

CTraceScope::~CTraceScope() {
  const std::uint32_t elapsed = timeGetTime() - startTime;
  try {
    LogAtDepth(-1, LogLevel::kInformation, functionName, L"<- %s [%d]", displayName, elapsed);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor must not throw
    // Without memory for the log's client the message is lost; the traced function is not.
  }
}

}  // namespace logging

#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>
#include <type_traits>

#include "foundation/ModuleHandle.h"
#include "foundation/SharedInstance.h"

// The client of log.dll, a separate library that takes this library's diagnostics. It is never
// linked to and may be absent, in which case nothing is written.
namespace logging {

// What log.dll makes of the levels is its own affair.
enum class LogLevel : std::uint32_t {
  kFailure = 4,
  kRetry = 16,
  kInformation = 32,
};

// CLogDLL holds log.dll loaded, and its exports. An export that is missing is null, but for
// LogWrite, which is then replaced by a function that does nothing.
class CLogDLL {
 public:
  // Takes the log.dll that the process has loaded already, from wherever, or else loads the one
  // beside this library, and lets it initialise itself.
  CLogDLL();
  ~CLogDLL();
  CLogDLL(const CLogDLL&) = delete;
  CLogDLL& operator=(const CLogDLL&) = delete;

  // Hands one message on; the arguments are those of the printf-style format. depthChange is 1 for
  // the message that enters a function, -1 for the one that leaves it, and otherwise 0.
  void Write(std::int32_t depthChange, LogLevel level, const wchar_t* function,
             const wchar_t* format, ...) const;

 private:
  using LogWriteFunction = HRESULT(std::int32_t depthChange, const std::uint32_t* level,
                                   HMODULE writer, const wchar_t* function, const wchar_t* format,
                                   va_list arguments);
  using LogRemoveModuleFunction = void(const char* caller);
  using PlainFunction = void();
  using UnusedFunction = void();  // an export that is looked up but never called

  static HRESULT DropMessage(std::int32_t, const std::uint32_t*, HMODULE, const wchar_t*,
                             const wchar_t*, va_list);
  void ResolveExports();
  template <typename Function>
  void Resolve(Function*& function, const char* name) {
    function = kx::FindProcedure<Function>(module.get(), name);
  }
  void CallIfPresent(const char* name) const;

  kx::ModuleHandle module;
  UnusedFunction* LogApplySettings = nullptr;
  UnusedFunction* LogSetSettingsFile = nullptr;
  UnusedFunction* LogEnable = nullptr;
  UnusedFunction* LogSetLevel = nullptr;
  UnusedFunction* LogSetPath = nullptr;
  UnusedFunction* LogSetType = nullptr;
  UnusedFunction* LogSetMode = nullptr;
  UnusedFunction* LogSetMaxSize = nullptr;
  UnusedFunction* LogSetDepth = nullptr;
  LogWriteFunction* LogWrite = &DropMessage;
  UnusedFunction* LogIsEnabled = nullptr;
  UnusedFunction* LogMonitorSettings = nullptr;
  PlainFunction* LogUninitDeskMetrics = nullptr;
  UnusedFunction* LogTrackEvent = nullptr;
  UnusedFunction* LogTrackEventData = nullptr;
  LogRemoveModuleFunction* LogRemoveModule = nullptr;
  UnusedFunction* LogGetLevel = nullptr;
};

// CLogDLLRef keeps the client alive: log.dll is loaded when the first one is acquired and unloaded
// when the last one is released. Every object that logs holds one for its whole life.
using CLogDLLRef = kx::SharedRef<CLogDLL>;

// Writes one message if any object that logs is alive, and otherwise costs one unlocked read. A
// message that is issued while the last such object goes away may be written or dropped.
template <typename... Arguments>
void LogAtDepth(std::int32_t depthChange, LogLevel level, const wchar_t* function,
                const wchar_t* format, Arguments... arguments) {
  static_assert((std::is_scalar_v<Arguments> && ...), "a format takes numbers and pointers only");
  if (kx::sharedInstance<CLogDLL>.HasUsers()) {
    CLogDLLRef client;
    client->Write(depthChange, level, function, format, arguments...);
  }
}

template <typename... Arguments>
void Log(LogLevel level, const wchar_t* function, const wchar_t* format, Arguments... arguments) {
  LogAtDepth(0, level, function, format, arguments...);
}

}  // namespace logging

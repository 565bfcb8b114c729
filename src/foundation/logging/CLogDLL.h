#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>
#include <type_traits>

#include "foundation/ModuleHandle.h"
#include "foundation/SharedInstance.h"

// The client of log.dll, a separate library that receives Cifra.dll's diagnostics. It is loaded at
// run time and may be absent; messages are then dropped.
namespace logging {

// log.dll defines what each level means.
enum class LogLevel : std::uint32_t {
  kFailure = 4,
  kRetry = 16,
  kInformation = 32,
};

// CLogDLL keeps log.dll loaded and holds its exports. A missing export is null, except LogWrite,
// which is then replaced by a function that does nothing.
class CLogDLL {
 public:
  // Uses the log.dll that the process has already loaded, from whatever directory, or else loads
  // the one in Cifra.dll's directory, and calls its LogInit.
  CLogDLL();
  ~CLogDLL();
  CLogDLL(const CLogDLL&) = delete;
  CLogDLL& operator=(const CLogDLL&) = delete;

  // Passes one message to log.dll; the arguments are those of the printf-style format. depthChange
  // is 1 for the message on entry to a function, -1 for the one on return, otherwise 0.
  void Write(std::int32_t depthChange, LogLevel level, const wchar_t* function,
             const wchar_t* format, ...) const;

 private:
  using LogWriteFunction = HRESULT(std::int32_t depthChange, const std::uint32_t* level,
                                   HMODULE writer, const wchar_t* function, const wchar_t* format,
                                   va_list arguments);
  using LogRemoveModuleFunction = void(const char* caller);
  using PlainFunction = void();
  using UnusedFunction = void();

  static HRESULT DropMessage(std::int32_t, const std::uint32_t*, HMODULE, const wchar_t*,
                             const wchar_t*, va_list);
  void ResolveExports();
  template <typename Function>
  void Resolve(Function*& function, const char* name) {
    function = kx::FindProcedure<Function>(module.get(), name);
  }
  void CallIfPresent(const char* name) const;

  // All of these are looked up, and most never called: the set and its order are fixed by contract.
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
// when the last one is released. Every object that logs holds one throughout its life.
using CLogDLLRef = kx::SharedRef<CLogDLL>;

// Writes one message if any object that logs is alive, and otherwise costs one unlocked read. While
// the last such object is being destroyed a message may be written or dropped.
template <typename... Arguments>
void LogAtDepth(std::int32_t depthChange, LogLevel level, const wchar_t* function,
                const wchar_t* format, Arguments... arguments) {
  static_assert((std::is_scalar_v<Arguments> && ...), "a format takes numbers and pointers only");
  if (kx::sharedInstance<CLogDLL>.HasUsers()) {
    CLogDLLRef client;
    client.Acquire();
    client->Write(depthChange, level, function, format, arguments...);
  }
}

template <typename... Arguments>
void Log(LogLevel level, const wchar_t* function, const wchar_t* format, Arguments... arguments) {
  LogAtDepth(0, level, function, format, arguments...);
}

}  // namespace logging

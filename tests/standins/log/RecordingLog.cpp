// A log.dll that passes every call of its exports to the program, for the tests to check.
#include <windows.h>

#include "LogCall.h"
#include "LogExports.h"
#include "LogText.h"
#include "foundation/ModuleHandle.h"

namespace {

// The caller must ignore the result of LogWrite.
constexpr HRESULT kIgnoredResult = E_FAIL;

void Hand(const Cifra::Test::LogCall& call) {
  const HMODULE program = GetModuleHandleW(nullptr);
  if (auto* record = kx::FindProcedure<Cifra::Test::RecordLogCallFunction>(
          program, Cifra::Test::kRecordLogCall)) {
    record(&call);
  }
}

void Hand(const char* exportName) {
  Cifra::Test::LogCall call{};
  call.exportName = exportName;
  Hand(call);
}

}  // namespace

HRESULT LogInit() {
  Hand("LogInit");
  return kIgnoredResult;
}

HRESULT LogDeinit() {
  Hand("LogDeinit");
  return kIgnoredResult;
}

HRESULT LogWrite(std::int32_t depthChange, const std::uint32_t* level, HMODULE writer,
                 const wchar_t* function, const wchar_t* format, va_list arguments) {
  const DWORD error = GetLastError();
  const std::wstring text = FormatLogText(format, arguments);
  SetLastError(error);
  Hand({"LogWrite", depthChange, *level, writer, function, format, text.c_str(), nullptr});
  return kIgnoredResult;
}

void LogRemoveModule(const char* caller) {
  Cifra::Test::LogCall call{};
  call.exportName = "LogRemoveModule";
  call.caller = caller;
  Hand(call);
}

void LogUninitDeskMetrics() { Hand("LogUninitDeskMetrics"); }
void LogApplySettings() { Hand("LogApplySettings"); }
void LogSetSettingsFile() { Hand("LogSetSettingsFile"); }
void LogEnable() { Hand("LogEnable"); }
void LogSetLevel() { Hand("LogSetLevel"); }
void LogSetPath() { Hand("LogSetPath"); }
void LogSetType() { Hand("LogSetType"); }
void LogSetMode() { Hand("LogSetMode"); }
void LogSetMaxSize() { Hand("LogSetMaxSize"); }
void LogSetDepth() { Hand("LogSetDepth"); }
void LogIsEnabled() { Hand("LogIsEnabled"); }
void LogMonitorSettings() { Hand("LogMonitorSettings"); }
void LogGetLevel() { Hand("LogGetLevel"); }
void LogTrackEvent() { Hand("LogTrackEvent"); }
void LogTrackEventData() { Hand("LogTrackEventData"); }

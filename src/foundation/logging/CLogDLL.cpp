#include "foundation/logging/CLogDLL.h"

#include <string>

namespace logging {
namespace {

constexpr wchar_t kLogFile[] = L"log.dll";
constexpr std::size_t kMaxPath = 32767;  // the platform's limit, in characters

kx::ModuleHandle LoadBesideThisLibrary() {
  std::wstring path(kMaxPath, L'\0');
  path.resize(GetModuleFileNameW(kx::OwnModule(), path.data(), static_cast<DWORD>(path.size())));
  const std::size_t separator = path.rfind(L'\\');
  if (separator == std::wstring::npos) {
    return nullptr;
  }
  path.replace(separator + 1, std::wstring::npos, kLogFile);
  return kx::ModuleHandle(LoadLibraryW(path.c_str()));
}

kx::ModuleHandle ObtainLogLibrary() {
  HMODULE loaded = nullptr;
  if (GetModuleHandleExW(0, kLogFile, &loaded)) {
    return kx::ModuleHandle(loaded);
  }
  return LoadBesideThisLibrary();
}

}  // namespace

CLogDLL::CLogDLL() : module(ObtainLogLibrary()) {
  if (module) {
    CallIfPresent("LogInit");
    ResolveExports();
  }
}

CLogDLL::~CLogDLL() {
  if (!module) {
    return;
  }
  CallIfPresent("LogDeinit");
  if (LogUninitDeskMetrics) {
    LogUninitDeskMetrics();
  }
  if (LogRemoveModule) {
    LogRemoveModule("logging::CLogDLL::~CLogDLL");
  }
}

void CLogDLL::Write(std::int32_t depthChange, LogLevel level, const wchar_t* function,
                    const wchar_t* format, ...) const {
  const std::uint32_t levelValue = static_cast<std::uint32_t>(level);
  va_list arguments;
  va_start(arguments, format);
  LogWrite(depthChange, &levelValue, kx::OwnModule(), function, format, arguments);
  va_end(arguments);
}

HRESULT CLogDLL::DropMessage(std::int32_t, const std::uint32_t*, HMODULE, const wchar_t*,
                             const wchar_t*, va_list) {
  return E_NOINTERFACE;
}

// The order of the look-ups is fixed by contract; it differs from that of the fields.
void CLogDLL::ResolveExports() {
  Resolve(LogApplySettings, "LogApplySettings");
  Resolve(LogSetSettingsFile, "LogSetSettingsFile");
  Resolve(LogEnable, "LogEnable");
  Resolve(LogSetLevel, "LogSetLevel");
  Resolve(LogSetPath, "LogSetPath");
  Resolve(LogSetType, "LogSetType");
  Resolve(LogSetMode, "LogSetMode");
  Resolve(LogSetMaxSize, "LogSetMaxSize");
  Resolve(LogSetDepth, "LogSetDepth");
  Resolve(LogWrite, "LogWrite");
  Resolve(LogIsEnabled, "LogIsEnabled");
  Resolve(LogMonitorSettings, "LogMonitorSettings");
  Resolve(LogGetLevel, "LogGetLevel");
  Resolve(LogUninitDeskMetrics, "LogUninitDeskMetrics");
  Resolve(LogTrackEvent, "LogTrackEvent");
  Resolve(LogTrackEventData, "LogTrackEventData");
  Resolve(LogRemoveModule, "LogRemoveModule");
  if (!LogWrite) {
    LogWrite = &DropMessage;
  }
}

void CLogDLL::CallIfPresent(const char* name) const {
  if (PlainFunction* function = kx::FindProcedure<PlainFunction>(module.get(), name)) {
    function();
  }
}

}  // namespace logging

#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>

// What Cifra.dll and its like look for in a log.dll. All of it is optional. Results are ignored.
extern "C" {

// Called once after the library is loaded, before any message, and once before it is unloaded. When
// several libraries of a process write to the same log.dll, each calls both.
HRESULT LogInit();
HRESULT LogDeinit();

// Takes one message. function and format are terminated UTF-16; the format is that of Microsoft's
// wide printf, where %s is a wide text. depthChange is 1 when a function is entered, -1 when it is
// left, and otherwise 0. Any thread may call it.
HRESULT LogWrite(std::int32_t depthChange, const std::uint32_t* level, HMODULE writer,
                 const wchar_t* function, const wchar_t* format, va_list arguments);

// Called after LogDeinit, in this order. caller is the name of the function that calls.
void LogUninitDeskMetrics();
void LogRemoveModule(const char* caller);

// Looked up, but never called.
void LogApplySettings();
void LogSetSettingsFile();
void LogEnable();
void LogSetLevel();
void LogSetPath();
void LogSetType();
void LogSetMode();
void LogSetMaxSize();
void LogSetDepth();
void LogIsEnabled();
void LogMonitorSettings();
void LogGetLevel();
void LogTrackEvent();
void LogTrackEventData();

}  // extern "C"

#pragma once

#include <windows.h>

#include <cstdint>

namespace Cifra::Test {

// LogCall is a call of one of the recording log.dll's exports. Fields that an export does not have
// are null or 0.
struct LogCall {
  const char* exportName;
  // LogWrite
  std::int32_t depthChange;
  std::uint32_t level;
  HMODULE writer;
  const wchar_t* function;
  const wchar_t* format;
  const wchar_t* text;  // the format with its arguments filled in
  // LogRemoveModule
  const char* caller;
};

// The recording log.dll is unloaded before a test reads the record. It therefore passes every call
// to the program, which exports a function of this type and name; without one nothing is recorded.
using RecordLogCallFunction = void(const LogCall* call);
inline constexpr char kRecordLogCall[] = "RecordLogCall";

}  // namespace Cifra::Test

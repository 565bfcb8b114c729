#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

// The calls of the recording log.dll in this program. Link the library log_record, copy a log.dll
// of bin/standins next to the library under test, and take the record after the calls.
namespace Cifra::Test {

struct LogEntry {
  std::string exportName;
  // Of LogWrite; texts are UTF-8.
  std::int32_t depthChange = 0;
  std::uint32_t level = 0;
  HMODULE writer = nullptr;
  std::string function;
  std::string format;
  std::string text;
  // Of LogRemoveModule.
  std::string caller;

  // The call in one line: "LogInit", "LogRemoveModule CALLER", "LogWrite DEPTH LEVEL FUNCTION:
  // TEXT".
  std::string Line() const;
};

// All calls so far, in order; the record is empty afterwards. Any thread may log meanwhile.
std::vector<LogEntry> TakeLogEntries();

// The same as lines.
std::vector<std::string> TakeLogLines();

// Makes every LogWrite set this last error; by default it leaves the last error unchanged.
void SetErrorLeftByLogWrite(DWORD error);

}  // namespace Cifra::Test

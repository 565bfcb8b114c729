#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

// What the recording log.dll saw in this program. Link the library log_record, put a log.dll of
// bin/standins beside the library under test, and take the record when the calls are done.
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

// Makes every LogWrite leave this value for GetLastError; by default it leaves what it found.
void SetErrorLeftByLogWrite(DWORD error);

}  // namespace Cifra::Test

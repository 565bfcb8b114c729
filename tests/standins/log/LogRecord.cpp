#include "LogRecord.h"

#include <mutex>
#include <optional>
#include <utility>

#include "LogCall.h"
#include "LogText.h"

namespace {

std::mutex lock;
std::vector<Cifra::Test::LogEntry> entries;
std::optional<DWORD> errorLeft;

std::string Utf8(const wchar_t* text) { return text ? ToUtf8(text) : std::string(); }

}  // namespace

extern "C" __declspec(dllexport) void RecordLogCall(const Cifra::Test::LogCall* call) {
  const DWORD errorFound = GetLastError();
  const std::lock_guard guard(lock);
  entries.push_back({call->exportName, call->depthChange, call->level, call->writer,
                     Utf8(call->function), Utf8(call->format), Utf8(call->text),
                     call->caller ? call->caller : ""});
  SetLastError(call->format ? errorLeft.value_or(errorFound) : errorFound);
}

namespace Cifra::Test {

std::string LogEntry::Line() const {
  if (exportName == "LogWrite") {
    return exportName + " " + std::to_string(depthChange) + " " + std::to_string(level) + " " +
           function + ": " + text;
  }
  return caller.empty() ? exportName : exportName + " " + caller;
}

std::vector<LogEntry> TakeLogEntries() {
  const std::lock_guard guard(lock);
  return std::exchange(entries, {});
}

std::vector<std::string> TakeLogLines() {
  std::vector<std::string> lines;
  for (const LogEntry& entry : TakeLogEntries()) {
    lines.push_back(entry.Line());
  }
  return lines;
}

void SetErrorLeftByLogWrite(DWORD error) {
  const std::lock_guard guard(lock);
  errorLeft = error;
}

}  // namespace Cifra::Test

// A small log.dll that shows what the libraries of a process are doing. Put it beside the library
// to be watched. A line for each message goes to standard error, or to the end of the file that the
// environment variable CIFRA_LOG_FILE names:
//
//   14:03:07.512  32  4711  Md5ObjectImplementation::HashFile  Checking file C:\a.txt
//
// that is: local time, level, thread, function and text, which is indented by two blanks for every
// traced function that the thread is in.
#include <windows.h>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "LogExports.h"
#include "LogText.h"

namespace {

constexpr wchar_t kFileVariable[] = L"CIFRA_LOG_FILE";

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, HandleCloser>;

std::wstring ChosenFile() {
  std::wstring path(32767, L'\0');
  path.resize(GetEnvironmentVariableW(kFileVariable, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

// Null without a file name, or if the file cannot be opened.
FileHandle OpenChosenFile() {
  const std::wstring path = ChosenFile();
  if (path.empty()) {
    return nullptr;
  }
  const HANDLE file =
      CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  return FileHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

std::wstring TimeNow() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  wchar_t text[16];
  swprintf(text, std::size(text), L"%02u:%02u:%02u.%03u", now.wHour, now.wMinute, now.wSecond,
           now.wMilliseconds);
  return text;
}

class Writer {
 public:
  void AddUser() {
    const std::lock_guard guard(lock);
    if (users++ == 0) {
      file = OpenChosenFile();
    }
  }

  void RemoveUser() {
    const std::lock_guard guard(lock);
    if (--users == 0) {
      file.reset();
      depths.clear();
    }
  }

  void Write(std::int32_t depthChange, std::uint32_t level, std::wstring_view function,
             std::wstring_view text) {
    const std::lock_guard guard(lock);
    const DWORD thread = GetCurrentThreadId();
    std::wstring line =
        TimeNow() + L"  " + std::to_wstring(level) + L"  " + std::to_wstring(thread) + L"  ";
    line += function;
    line += L"  " + Indentation(thread, depthChange);
    line += text;
    while (line.ends_with(L'\n')) {
      line.pop_back();
    }
    WriteLine(line + L"\r\n");
  }

 private:
  // A function's own two messages have the depth of its caller.
  std::wstring Indentation(DWORD thread, std::int32_t depthChange) {
    int& depth = depths[thread];
    depth = std::max(0, depth + std::min(depthChange, 0));
    const std::size_t blanks = 2 * static_cast<std::size_t>(depth);
    depth += std::max(depthChange, 0);
    if (depth == 0) {
      depths.erase(thread);
    }
    return std::wstring(blanks, L' ');
  }

  void WriteLine(const std::wstring& line) const {
    const HANDLE target = file ? file.get() : GetStdHandle(STD_ERROR_HANDLE);
    DWORD written = 0;
    DWORD mode = 0;
    if (GetConsoleMode(target, &mode)) {
      WriteConsoleW(target, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    } else {
      const std::string bytes = ToUtf8(line);
      WriteFile(target, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
  }

  std::mutex lock;
  int users = 0;
  FileHandle file;
  std::map<DWORD, int> depths;  // of the threads that are in a traced function
};

Writer writer;

// No exception may reach the libraries that write to this log: they do not catch it.
template <typename Action>
HRESULT WithoutThrowing(Action action) {
  try {
    action();
    return S_OK;
  } catch (const std::exception&) {
    return E_FAIL;
  }
}

}  // namespace

HRESULT LogInit() {
  return WithoutThrowing([] { writer.AddUser(); });
}

HRESULT LogDeinit() {
  return WithoutThrowing([] { writer.RemoveUser(); });
}

HRESULT LogWrite(std::int32_t depthChange, const std::uint32_t* level, HMODULE,
                 const wchar_t* function, const wchar_t* format, va_list arguments) {
  const DWORD error = GetLastError();  // writing a log does not disturb what is logged
  const HRESULT result = WithoutThrowing(
      [&] { writer.Write(depthChange, *level, function, FormatLogText(format, arguments)); });
  SetLastError(error);
  return result;
}

// Nothing to do.
void LogUninitDeskMetrics() {}
void LogRemoveModule(const char*) {}

// There are no settings but the environment variable.
void LogApplySettings() {}
void LogSetSettingsFile() {}
void LogEnable() {}
void LogSetLevel() {}
void LogSetPath() {}
void LogSetType() {}
void LogSetMode() {}
void LogSetMaxSize() {}
void LogSetDepth() {}
void LogIsEnabled() {}
void LogMonitorSettings() {}
void LogGetLevel() {}
void LogTrackEvent() {}
void LogTrackEventData() {}

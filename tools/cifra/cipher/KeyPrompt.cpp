#include "cipher/KeyPrompt.h"

#include <windows.h>

#include <cwchar>

#include "system/Failure.h"
#include "system/Handles.h"
#include "system/Interruption.h"
#include "system/SecretBuffer.h"

namespace client {
namespace {

FileHandle OpenConsole(const wchar_t* name) {
  FileHandle console(NullIfInvalid(CreateFileW(name, GENERIC_READ | GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                               OPEN_EXISTING, 0, nullptr)));
  DWORD mode = 0;
  if (!console || !GetConsoleMode(console.get(), &mode)) {
    throw Failure(ExitCode::kBadKey,
                  "no key: give --key-file or --key-env (there is no console to ask for it)");
  }
  return console;
}

// Keeps what is typed off the screen for as long as it lives. The console outlives the process:
// Ctrl+C, too, gives it its echo back, before it ends the process. There is one at a time.
class EchoOff {
 public:
  explicit EchoOff(HANDLE keyboard) {
    console = keyboard;
    GetConsoleMode(console, &mode);
    SetConsoleCtrlHandler(Restore, TRUE);
    SetConsoleMode(console, ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT);
  }
  ~EchoOff() {
    SetConsoleMode(console, mode);
    SetConsoleCtrlHandler(Restore, FALSE);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  static BOOL WINAPI Restore(DWORD) {
    SetConsoleMode(console, mode);
    return FALSE;  // the next handler, the program's, ends the process
  }

  static inline HANDLE console = nullptr;
  static inline DWORD mode = 0;
};

}  // namespace

std::size_t PromptWithoutEcho(const wchar_t* prompt, std::span<wchar_t> line) {
  const FileHandle keyboard = OpenConsole(L"CONIN$");
  const FileHandle screen = OpenConsole(L"CONOUT$");
  WriteConsoleW(screen.get(), prompt, static_cast<DWORD>(std::wcslen(prompt)), nullptr, nullptr);
  std::size_t count = 0;
  {
    const EchoOff echoOff(keyboard.get());
    // One unit at a time: the line may be longer than the buffer, and no copy of it remains.
    SecretBuffer<wchar_t, 1> unit;
    while (*unit.Data() != L'\n') {
      DWORD read = 0;
      SetLastError(ERROR_SUCCESS);
      if (!ReadConsoleW(keyboard.get(), unit.Data(), 1, &read, nullptr) || read == 0) {
        if (GetLastError() == ERROR_OPERATION_ABORTED) {
          AwaitInterruption();
        }
        throw Failure(ExitCode::kBadKey, "no key: the question for it was not answered");
      }
      if (!std::wcschr(L"\r\n", *unit.Data()) && count < line.size()) {
        line[count++] = *unit.Data();
      }
    }
  }
  WriteConsoleW(screen.get(), L"\n", 1, nullptr, nullptr);
  return count;
}

}  // namespace client

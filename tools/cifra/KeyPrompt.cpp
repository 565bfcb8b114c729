#include "KeyPrompt.h"

#include <windows.h>

#include <cwchar>

#include "Failure.h"
#include "Handles.h"

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

// Keeps what is typed off the screen for as long as it lives.
class EchoOff {
 public:
  explicit EchoOff(HANDLE keyboard) : console(keyboard) {
    GetConsoleMode(console, &mode);
    SetConsoleMode(console, ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT);
  }
  ~EchoOff() { SetConsoleMode(console, mode); }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  HANDLE console;
  DWORD mode = 0;
};

}  // namespace

std::size_t PromptWithoutEcho(const wchar_t* prompt, std::span<wchar_t> line) {
  const FileHandle keyboard = OpenConsole(L"CONIN$");
  const FileHandle screen = OpenConsole(L"CONOUT$");
  WriteConsoleW(screen.get(), prompt, static_cast<DWORD>(std::wcslen(prompt)), nullptr, nullptr);
  std::size_t count = 0;
  {
    const EchoOff echoOff(keyboard.get());
    // One unit at a time: the line may be longer than the room, and no copy of it is left behind.
    wchar_t unit = 0;
    DWORD read = 0;
    while (ReadConsoleW(keyboard.get(), &unit, 1, &read, nullptr) && read == 1 && unit != L'\n') {
      if (unit != L'\r' && count < line.size()) {
        line[count++] = unit;
      }
    }
    unit = 0;
  }
  WriteConsoleW(screen.get(), L"\n", 1, nullptr, nullptr);
  return count;
}

}  // namespace client

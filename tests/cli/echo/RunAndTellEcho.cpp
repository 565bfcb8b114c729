// Runs a command on its console, survives Ctrl+C, and says how the command ended and whether the
// console still shows what is typed.
#include <windows.h>

#include <cstdio>

namespace {

// The value of an environment variable, empty for none.
struct Variable {
  wchar_t text[32768] = {};

  explicit Variable(const wchar_t* name) { GetEnvironmentVariableW(name, text, 32768); }
};

HANDLE CreateInherited(const wchar_t* path) {
  SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
  return CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
}

// Where one reads for ever: the end that is written to stays open here, and nobody writes.
HANDLE CreateSilentPipe() {
  HANDLE read = nullptr;
  HANDLE write = nullptr;
  CreatePipe(&read, &write, nullptr, 0);
  SetHandleInformation(read, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  return read;
}

}  // namespace

int main() {
  SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
  static Variable command(L"CIFRA_COMMAND");
  static const Variable output(L"CIFRA_OUTPUT");  // the file that it writes to, not the console
  static const Variable input(L"CIFRA_INPUT");    // "pipe", not the console
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  if (output.text[0] != 0) {
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = input.text[0] != 0 ? CreateSilentPipe() : GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = CreateInherited(output.text);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  }
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, command.text, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                      &process)) {
    return 1;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  DWORD mode = 0;
  GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode);
  // Without a blank, in whose place a console may move its cursor.
  std::printf("code=%lu,%s\n", code, (mode & ENABLE_ECHO_INPUT) != 0 ? "echo=on" : "echo=off");
  return 0;
}

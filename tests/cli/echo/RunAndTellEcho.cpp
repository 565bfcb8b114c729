// Runs a command on its console, survives Ctrl+C, and says whether the console still shows what is
// typed.
#include <windows.h>

#include <cstdio>

int main() {
  SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
  wchar_t command[32768];
  const DWORD length = GetEnvironmentVariableW(L"CIFRA_COMMAND", command, 32768);
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process{};
  if (length == 0 || !CreateProcessW(nullptr, command, nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                     &start, &process)) {
    return 1;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  DWORD mode = 0;
  GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode);
  std::puts((mode & ENABLE_ECHO_INPUT) != 0 ? "echo=on" : "echo=off");
  return 0;
}

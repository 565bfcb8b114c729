#include "support/ChildProcess.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

#include "support/ProgramArguments.h"

namespace Cifra::Test {
namespace {

constexpr wchar_t kActionPrefix[] = L"--child=";
constexpr wchar_t kArgumentPrefix[] = L"--argument";

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

std::map<std::wstring, ChildAction::Function>& Actions() {
  static std::map<std::wstring, ChildAction::Function> actions;
  return actions;
}

std::wstring ArgumentPrefix(std::size_t index) {
  return kArgumentPrefix + std::to_wstring(index) + L"=";
}

std::wstring Quoted(const std::wstring& argument) { return L" \"" + argument + L"\""; }

std::wstring CommandLine(const std::filesystem::path& program, const std::wstring& action,
                         const ChildAction::Arguments& arguments) {
  std::wstring line = Quoted(program).substr(1);
  line += Quoted(kActionPrefix + action);
  line += Quoted(L"--dll=" + FileUnderTest().wstring());
  line += Quoted(L"--argumentCount=" + std::to_wstring(arguments.size()));
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    line += Quoted(ArgumentPrefix(i) + arguments[i]);
  }
  return line;
}

[[noreturn]] void Fail(const char* step) {
  std::fprintf(stderr, "%s failed: error %lu\n", step, GetLastError());
  std::exit(EXIT_FAILURE);
}

std::string ReadToEnd(HANDLE pipe) {
  std::string text;
  char piece[4096];
  DWORD count = 0;
  while (ReadFile(pipe, piece, sizeof(piece), &count, nullptr) && count > 0) {
    text.append(piece, count);
  }
  return text;
}

}  // namespace

std::vector<std::string> ChildResult::Lines() const {
  std::vector<std::string> lines(1);
  for (const char character : output) {
    if (character == '\n') {
      lines.emplace_back();
    } else if (character != '\r') {
      lines.back() += character;
    }
  }
  if (lines.back().empty()) {
    lines.pop_back();
  }
  return lines;
}

ChildAction::ChildAction(const wchar_t* name, Function function) { Actions()[name] = function; }

void ChildAction::RunIfAsked() {
  const std::wstring name = ProgramArgument(kActionPrefix);
  if (name.empty()) {
    return;
  }
  Arguments arguments(std::stoul(ProgramArgument(L"--argumentCount=")));
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    arguments[i] = ProgramArgument(ArgumentPrefix(i));
  }
  std::exit(Actions().at(name)(arguments));
}

ChildResult RunChild(const std::wstring& action, const ChildAction::Arguments& arguments,
                     const std::filesystem::path& program) {
  SECURITY_ATTRIBUTES inheritable{sizeof(inheritable), nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (!CreatePipe(&readEnd, &writeEnd, &inheritable, 0)) {
    Fail("CreatePipe");
  }
  const UniqueHandle output(readEnd);
  UniqueHandle childOutput(writeEnd);
  SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd;
  startup.hStdError = writeEnd;
  PROCESS_INFORMATION process{};
  std::wstring commandLine =
      CommandLine(program.empty() ? ProgramFile() : program, action, arguments);
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &startup, &process)) {
    Fail("CreateProcessW");
  }
  const UniqueHandle child(process.hProcess);
  const UniqueHandle childThread(process.hThread);
  childOutput.reset();

  ChildResult result;
  result.output = ReadToEnd(readEnd);
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD exitCode = 0;
  GetExitCodeProcess(process.hProcess, &exitCode);
  result.exitCode = exitCode;
  return result;
}

}  // namespace Cifra::Test

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>
#include <stdexcept>

#include "foundation/ModuleHandle.h"
#include "foundation/logging/CLogDLL.h"
#include "foundation/logging/CTraceScope.h"
#include "log/LogHost.h"
#include "support/ImportPatch.h"

// The logging client alone. It is linked into this program, whose directory it therefore searches
// for log.dll.
namespace {

using Cifra::Test::ChildAction;
using Cifra::Test::ImportPatch;
using Cifra::Test::kLogBegins;
using Cifra::Test::kLogEnds;
using Cifra::Test::kLogIsGone;
using Cifra::Test::kLogIsLoaded;
using logging::CLogDLL;
using logging::CLogDLLRef;
using logging::CTraceScope;
using logging::Log;
using logging::LogLevel;
using Cifra::Test::operator+;
using Lines = std::vector<std::string>;

class LogClient : public testing::Test {
 protected:
  LogClient() { host.PutLog(); }

  // Runs the action of this name; the log must be gone at its end.
  void Expect(const std::wstring& action, const Lines& lines) {
    EXPECT_EQ(lines + Lines{kLogIsGone}, host.Run(action));
  }

  Cifra::Test::LogHost host;
};

int Finish() {
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
}

// The clock of the trace scopes, which only advances when a test says so.
DWORD now = 1000;
DWORD WINAPI TestClock() { return now; }

ImportPatch WithTestClock() { return {GetModuleHandleW(nullptr), "timeGetTime", &TestClock}; }

const ChildAction kLogWithoutObject(L"LogWithoutObject", [](const auto&) {
  Log(LogLevel::kFailure, L"Function", L"nobody holds the log");
  return Finish();
});

TEST_F(LogClient, MessageWhileNobodyHoldsTheLog_IsDroppedWithoutLoadingIt) {
  Expect(L"LogWithoutObject", {});
}

const ChildAction kLevels(L"Levels", [](const auto&) {
  {
    CLogDLLRef holder;
    holder.Acquire();
    Log(LogLevel::kFailure, L"One", L"failure %d 0x%.8X", -5, 0x800B0100u);
    Log(LogLevel::kRetry, L"Two", L"retry");
    Log(LogLevel::kInformation, L"Three", L"%s is %02d/%04d", L"a date", 7, 2024);
  }
  return Finish();
});

TEST_F(LogClient, Messages_HaveTheirLevelAndFormattedArguments) {
  Expect(L"Levels", kLogBegins +
                        Lines{"LogWrite 0 4 One: failure -5 0x800B0100", "LogWrite 0 16 Two: retry",
                              "LogWrite 0 32 Three: a date is 07/2024"} +
                        kLogEnds);
}

const ChildAction kHandle(L"Handle", [](const auto&) {
  CLogDLLRef first;
  CLogDLLRef second;
  first.Acquire();
  first.Acquire();
  second.Acquire();
  first.Release();
  first.Release();  // an empty handle has nothing to release
  Cifra::Test::PrintWhetherLogIsLoaded();
  second.Release();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return Finish();
});

TEST_F(LogClient, Release_GivesBackEveryReferenceOfTheHandleAndNoOther) {
  Expect(L"Handle", Lines{kLogIsLoaded, kLogIsGone} + kLogBegins + kLogEnds);
}

const ChildAction kEmptyHandle(L"EmptyHandle", [](const auto&) {
  {
    CLogDLLRef handle;
    handle->Write(0, LogLevel::kInformation, L"Function", L"%s", L"text");
  }
  return Finish();
});

TEST_F(LogClient, HandleThatIsUsedWhileEmpty_AcquiresFirst) {
  Expect(L"EmptyHandle", kLogBegins + Lines{"LogWrite 0 32 Function: text"} + kLogEnds);
}

const ChildAction kNestedScopes(L"NestedScopes", [](const auto&) {
  const ImportPatch clock = WithTestClock();
  CLogDLLRef holder;
  holder.Acquire();
  {
    const CTraceScope outer(L"Outer");
    now += 5;
    {
      const CTraceScope inner(L"Inner");
      now += 7;
    }
  }
  holder.Release();
  return Finish();
});

TEST_F(LogClient, TraceScopes_LogEntryAndExitWithTheElapsedTime) {
  Expect(
      L"NestedScopes",
      kLogBegins +
          Lines{"LogWrite 1 32 Outer: -> Outer()", "LogWrite 1 32 Inner: -> Inner()",
                "LogWrite -1 32 Inner: <- Inner() [7]", "LogWrite -1 32 Outer: <- Outer() [12]"} +
          kLogEnds);
}

const ChildAction kExceptionThroughScope(L"ExceptionThroughScope", [](const auto&) {
  const ImportPatch clock = WithTestClock();
  CLogDLLRef holder;
  holder.Acquire();
  try {
    const CTraceScope scope(L"Raises");
    throw std::runtime_error("raised");
  } catch (const std::runtime_error&) {
    Log(LogLevel::kInformation, L"Catches", L"caught");
  }
  holder.Release();
  return Finish();
});

TEST_F(LogClient, TraceScopeLeftByAnException_LogsItsExit) {
  Expect(L"ExceptionThroughScope",
         kLogBegins +
             Lines{"LogWrite 1 32 Raises: -> Raises()", "LogWrite -1 32 Raises: <- Raises() [0]",
                   "LogWrite 0 32 Catches: caught"} +
             kLogEnds);
}

[[noreturn]] HRESULT RaiseInLogWrite(std::int32_t, const std::uint32_t*, HMODULE, const wchar_t*,
                                     const wchar_t*, va_list) {
  throw std::bad_alloc();
}

// Not by this program's own import, which is patched.
auto* const realGetProcAddress = kx::FindProcedure<FARPROC WINAPI(HMODULE, LPCSTR)>(
    GetModuleHandleW(L"kernel32.dll"), "GetProcAddress");

FARPROC WINAPI FindRaisingLogWrite(HMODULE module, LPCSTR name) {
  return std::strcmp(name, "LogWrite") == 0
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&RaiseInLogWrite))
             : realGetProcAddress(module, name);
}

const ChildAction kLogThatRaises(L"LogThatRaises", [](const auto&) {
  CLogDLLRef holder;
  {
    const CTraceScope scope(L"Function");  // while nobody holds the log
    const ImportPatch patch(GetModuleHandleW(nullptr), "GetProcAddress", &FindRaisingLogWrite);
    holder.Acquire();
  }
  std::printf("the scope is left\n");
  holder.Release();
  return Finish();
});

TEST_F(LogClient, TraceScopeWhoseExitCannotBeLogged_IsLeftAllTheSame) {
  Expect(L"LogThatRaises", Lines{"the scope is left"} + kLogBegins + kLogEnds);
}

const ChildAction kBuiltInWriter(L"BuiltInWriter", [](const auto&) {
  constexpr std::size_t kLogWriteField = 10;  // behind the module and nine other functions
  const CLogDLL client;
  using Writer =
      HRESULT(std::int32_t, const std::uint32_t*, HMODULE, const wchar_t*, const wchar_t*, ...);
  void* const* const fields = reinterpret_cast<void* const*>(&client);
  const auto write = reinterpret_cast<Writer*>(fields[kLogWriteField]);
  std::printf("%s 0x%08lX\n", fields[0] ? "log" : "no log",
              static_cast<unsigned long>(write(0, nullptr, nullptr, nullptr, nullptr)));
  return 0;
});

TEST(LogClientAlone, BuiltInWriter_AnswersNoInterface) {
  const Cifra::Test::LogHost host;
  EXPECT_EQ(Lines{"no log 0x80004002"}, host.Run(L"BuiltInWriter"));
}

const ChildAction kLateLog(L"LateLog", [](const auto&) {
  const ImportPatch clock = WithTestClock();
  CLogDLLRef holder;
  {
    const CTraceScope scope(L"Function");
    now += 3;
    holder.Acquire();
  }
  holder.Release();
  return Finish();
});

TEST_F(LogClient, TraceScopeEnteredWhileInactive_LogsOnlyItsExit) {
  Expect(L"LateLog", kLogBegins + Lines{"LogWrite -1 32 Function: <- Function() [3]"} + kLogEnds);
}

const ChildAction kEarlyEnd(L"EarlyEnd", [](const auto&) {
  CLogDLLRef holder;
  holder.Acquire();
  {
    const CTraceScope scope(L"Function");
    holder.Release();
  }
  {
    const CTraceScope inactive(L"Inactive");
  }
  return Finish();
});

TEST_F(LogClient, TraceScopeLeftWhileInactive_DoesNotLoadTheLogAgain) {
  Expect(L"EarlyEnd", kLogBegins + Lines{"LogWrite 1 32 Function: -> Function()"} + kLogEnds);
}

const ChildAction kWrappedClock(L"WrappedClock", [](const auto&) {
  const ImportPatch clock = WithTestClock();
  CLogDLLRef holder;
  holder.Acquire();
  {
    now = 0xFFFFFFF0;
    const CTraceScope scope(L"Function");
    now = 0x10;
  }
  {
    now = 1;
    const CTraceScope scope(L"Function");
    now = 0;
  }
  holder.Release();
  return Finish();
});

TEST_F(LogClient, ElapsedTime_WrapsModulo2To32Milliseconds) {
  Expect(L"WrappedClock", kLogBegins +
                              Lines{"LogWrite 1 32 Function: -> Function()",
                                    "LogWrite -1 32 Function: <- Function() [32]",
                                    "LogWrite 1 32 Function: -> Function()",
                                    "LogWrite -1 32 Function: <- Function() [-1]"} +
                              kLogEnds);
}

const ChildAction kLongNames(L"LongNames", [](const auto& arguments) {
  const ImportPatch clock = WithTestClock();
  CLogDLLRef holder;
  holder.Acquire();
  {
    const CTraceScope scope(arguments[0].c_str());
  }
  holder.Release();
  return Finish();
});

TEST_F(LogClient, LongFunctionName_IsCutTo259CharactersOr257WithSuffix) {
  std::string digits;
  for (int i = 0; i < 300; ++i) {
    digits += static_cast<char>('0' + i % 10);
  }
  for (const std::size_t length : {256u, 257u, 258u, 259u, 260u, 300u}) {
    const std::string name = digits.substr(0, length);
    const std::string function = name.substr(0, 259) + ": ";
    const std::string shown = name.substr(0, 257) + "()";
    const Lines messages = {"LogWrite 1 32 " + function + "-> " + shown,
                            "LogWrite -1 32 " + function + "<- " + shown + " [0]"};
    EXPECT_EQ(kLogBegins + messages + kLogEnds + Lines{kLogIsGone},
              host.Run(L"LongNames", {std::wstring(name.begin(), name.end())}))
        << length;
  }
}

// The client's fields after the module, in order.
constexpr const char* kFields[] = {
    "LogApplySettings",     "LogSetSettingsFile", "LogEnable",         "LogSetLevel",
    "LogSetPath",           "LogSetType",         "LogSetMode",        "LogSetMaxSize",
    "LogSetDepth",          "LogWrite",           "LogIsEnabled",      "LogMonitorSettings",
    "LogUninitDeskMetrics", "LogTrackEvent",      "LogTrackEventData", "LogRemoveModule",
    "LogGetLevel"};

const ChildAction kFieldsOfTheClient(L"FieldsOfTheClient", [](const auto&) {
  const CLogDLL client;
  HMODULE module = nullptr;
  void (*functions[std::size(kFields)])();
  static_assert(sizeof(client) == sizeof(module) + sizeof(functions));
  const char* memory = reinterpret_cast<const char*>(&client);
  std::memcpy(&module, memory, sizeof(module));
  std::memcpy(functions, memory + sizeof(module), sizeof(functions));
  for (std::size_t i = 0; i < std::size(kFields); ++i) {
    if (!functions[i] || functions[i] != kx::FindProcedure<void()>(module, kFields[i])) {
      std::printf("%s\n", kFields[i]);
    }
  }
  return module == GetModuleHandleW(L"log.dll") ? 0 : 1;
});

TEST_F(LogClient, Fields_AreTheModuleAndTheExportsInTheirOrder) {
  EXPECT_EQ(Lines{}, host.Run(L"FieldsOfTheClient"));
}

}  // namespace

#include "FailingImports.h"

#include <bcrypt.h>
#include <shlwapi.h>
#include <wincrypt.h>
#include <wintrust.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Ledger.h"
#include "support/ImportPatch.h"

namespace Cifra::Test {
namespace {

bool isArmed = false;
bool failsForGood = false;
int callsUntilFailure = 0;
const char* failed = nullptr;

bool MustFail(const char* name) {
  if (!isArmed) {
    return false;
  }
  if (failed) {
    return failsForGood && failed == name;
  }
  if (--callsUntilFailure != 0) {
    return false;
  }
  failed = name;
  std::fputs(name, stdout);
  std::fflush(stdout);
  return true;
}

template <std::size_t kLength>
struct Name {
  char text[kLength];
  constexpr Name(const char (&literal)[kLength]) { std::copy_n(literal, kLength, text); }
};

struct Rule {
  const char* name;
  void* replacement;
  void** original;
  bool canFail;
};

// An import that can fail. `fail` then replaces the call: it sets the last error and returns what
// the platform returns. `note` enters the result of a real call in the ledger.
template <Name kName, typename Function>
struct Fallible;

template <Name kName, typename Result, typename... Arguments>
struct Fallible<kName, Result(Arguments...)> {
  using Function = Result(Arguments...);
  static inline void* original = nullptr;
  static inline Function* fail = nullptr;
  static inline void (*note)(Result, Arguments...) = nullptr;

  static Function& Original() { return *reinterpret_cast<Function*>(original); }

  static Result Call(Arguments... arguments) {
    if (MustFail(kName.text)) {
      return fail(arguments...);
    }
    const Result result = Original()(arguments...);
    if (note) {
      note(result, arguments...);
    }
    return result;
  }

  static Rule With(Function* failing, void (*noting)(Result, Arguments...) = nullptr) {
    fail = failing;
    note = noting;
    return {kName.text, reinterpret_cast<void*>(&Call), &original, true};
  }
};

// An import that cannot fail, but hands something out or takes it back.
template <Name kName, typename Function>
struct Noted;

template <Name kName, typename... Arguments>
struct Noted<kName, void(Arguments...)> {
  using Function = void(Arguments...);
  static inline void* original = nullptr;
  static inline Function* note = nullptr;

  static void Call(Arguments... arguments) {
    note(arguments...);
    (*reinterpret_cast<Function*>(original))(arguments...);
  }

  static Rule With(Function* noting) {
    note = noting;
    return {kName.text, reinterpret_cast<void*>(&Call), &original, false};
  }
};

template <typename Value>
Value WithError(DWORD error, Value value) {
  SetLastError(error);
  return value;
}

constexpr NTSTATUS kNoMemory = static_cast<NTSTATUS>(0xC0000017);
constexpr NTSTATUS kInvalidHandle = static_cast<NTSTATUS>(0xC0000008);
constexpr LONG kProviderUnknown = static_cast<LONG>(0x800B0001);

void EnterBlock(const void* block) {
  if (block) {
    Ledger::Enter(Holding::kMemory, block);
  }
}

// Whatever takes something back does so even where it is made to report a failure: what would stay
// open is then the platform's.
std::vector<Rule> HeapRules() {
  return {
      Fallible<"malloc", void*(std::size_t)>::With(
          [](std::size_t) -> void* { return nullptr; },
          [](void* block, std::size_t) { EnterBlock(block); }),
      Fallible<"calloc", void*(std::size_t, std::size_t)>::With(
          [](std::size_t, std::size_t) -> void* { return nullptr; },
          [](void* block, std::size_t, std::size_t) { EnterBlock(block); }),
      Fallible<"realloc", void*(void*, std::size_t)>::With(
          [](void*, std::size_t) -> void* { return nullptr; },
          [](void* moved, void* block, std::size_t) {
            if (moved) {
              if (block) {
                Ledger::CrossOff(Holding::kMemory, block);
              }
              EnterBlock(moved);
            }
          }),
      Noted<"free", void(void*)>::With([](void* block) {
        if (block) {
          Ledger::CrossOff(Holding::kMemory, block);
        }
      }),
  };
}

std::vector<Rule> KernelRules() {
  using Close = Fallible<"CloseHandle", decltype(CloseHandle)>;
  using Free = Fallible<"FreeLibrary", decltype(FreeLibrary)>;
  return {
      Fallible<"CreateFileW", decltype(CreateFileW)>::With(
          [](auto...) { return WithError(ERROR_TOO_MANY_OPEN_FILES, INVALID_HANDLE_VALUE); },
          [](HANDLE file, auto...) {
            if (file != INVALID_HANDLE_VALUE) {
              Ledger::Enter(Holding::kFile, file);
            }
          }),
      Fallible<"ReadFile", decltype(ReadFile)>::With(
          [](auto...) -> BOOL { return WithError(ERROR_READ_FAULT, FALSE); }),
      Close::With(
          [](HANDLE file) -> BOOL {
            Close::note(Close::Original()(file), file);
            return WithError(ERROR_INVALID_HANDLE, FALSE);
          },
          [](BOOL, HANDLE file) { Ledger::CrossOff(Holding::kFile, file); }),
      Fallible<"LoadLibraryW", decltype(LoadLibraryW)>::With(
          [](auto...) -> HMODULE { return WithError(ERROR_NOT_ENOUGH_MEMORY, nullptr); },
          [](HMODULE module, auto...) {
            if (module) {
              Ledger::Enter(Holding::kModule, module);
            }
          }),
      Fallible<"LoadLibraryExW", decltype(LoadLibraryExW)>::With(
          [](auto...) -> HMODULE { return WithError(ERROR_NOT_ENOUGH_MEMORY, nullptr); },
          [](HMODULE module, auto...) {
            if (module) {
              Ledger::Enter(Holding::kModule, module);
            }
          }),
      Fallible<"GetModuleHandleExW", decltype(GetModuleHandleExW)>::With(
          [](DWORD, LPCWSTR, HMODULE* module) -> BOOL {
            *module = nullptr;
            return WithError(ERROR_MOD_NOT_FOUND, FALSE);
          },
          [](BOOL found, DWORD, LPCWSTR, HMODULE* module) {
            if (found) {
              Ledger::Enter(Holding::kModule, *module);
            }
          }),
      Free::With(
          [](HMODULE module) -> BOOL {
            Free::note(Free::Original()(module), module);
            return WithError(ERROR_INVALID_HANDLE, FALSE);
          },
          [](BOOL, HMODULE module) { Ledger::CrossOff(Holding::kModule, module); }),
      Fallible<"GetModuleFileNameW", decltype(GetModuleFileNameW)>::With(
          [](auto...) -> DWORD { return WithError(ERROR_NOT_ENOUGH_MEMORY, DWORD{0}); }),
      Fallible<"GetModuleHandleW", decltype(GetModuleHandleW)>::With(
          [](auto...) -> HMODULE { return WithError(ERROR_MOD_NOT_FOUND, nullptr); }),
      Fallible<"GetProcAddress", decltype(GetProcAddress)>::With(
          [](auto...) -> FARPROC { return WithError(ERROR_PROC_NOT_FOUND, nullptr); }),
      Fallible<"MultiByteToWideChar", decltype(MultiByteToWideChar)>::With(
          [](auto...) { return WithError(ERROR_NO_UNICODE_TRANSLATION, 0); }),
      Fallible<"WideCharToMultiByte", decltype(WideCharToMultiByte)>::With(
          [](auto...) { return WithError(ERROR_NO_UNICODE_TRANSLATION, 0); }),
      Fallible<"FileTimeToSystemTime", decltype(FileTimeToSystemTime)>::With(
          [](auto...) -> BOOL { return WithError(ERROR_INVALID_PARAMETER, FALSE); }),
      Noted<"EnterCriticalSection", void(CRITICAL_SECTION*)>::With(
          [](CRITICAL_SECTION* section) { Ledger::Enter(Holding::kLock, section); }),
      Noted<"LeaveCriticalSection", void(CRITICAL_SECTION*)>::With(
          [](CRITICAL_SECTION* section) { Ledger::CrossOff(Holding::kLock, section); }),
  };
}

std::vector<Rule> ServiceRules() {
  using CloseProvider =
      Fallible<"BCryptCloseAlgorithmProvider", decltype(BCryptCloseAlgorithmProvider)>;
  using DestroyHash = Fallible<"BCryptDestroyHash", decltype(BCryptDestroyHash)>;
  using Verify = Fallible<"WinVerifyTrust", decltype(WinVerifyTrust)>;
  return {
      Fallible<"BCryptOpenAlgorithmProvider", decltype(BCryptOpenAlgorithmProvider)>::With(
          [](auto...) -> NTSTATUS { return kNoMemory; },
          [](NTSTATUS status, BCRYPT_ALG_HANDLE* provider, auto...) {
            if (status == 0) {
              Ledger::Enter(Holding::kAlgorithm, *provider);
            }
          }),
      CloseProvider::With(
          [](BCRYPT_ALG_HANDLE provider, ULONG flags) -> NTSTATUS {
            CloseProvider::note(CloseProvider::Original()(provider, flags), provider, flags);
            return kInvalidHandle;
          },
          [](NTSTATUS, BCRYPT_ALG_HANDLE provider, ULONG) {
            Ledger::CrossOff(Holding::kAlgorithm, provider);
          }),
      Fallible<"BCryptCreateHash", decltype(BCryptCreateHash)>::With(
          [](auto...) -> NTSTATUS { return kNoMemory; },
          [](NTSTATUS status, BCRYPT_ALG_HANDLE, BCRYPT_HASH_HANDLE* hash, auto...) {
            if (status == 0) {
              Ledger::Enter(Holding::kHash, *hash);
            }
          }),
      DestroyHash::With(
          [](BCRYPT_HASH_HANDLE hash) -> NTSTATUS {
            DestroyHash::note(DestroyHash::Original()(hash), hash);
            return kInvalidHandle;
          },
          [](NTSTATUS, BCRYPT_HASH_HANDLE hash) { Ledger::CrossOff(Holding::kHash, hash); }),
      Fallible<"BCryptHashData", decltype(BCryptHashData)>::With(
          [](auto...) -> NTSTATUS { return kNoMemory; }),
      Fallible<"BCryptFinishHash", decltype(BCryptFinishHash)>::With(
          [](auto...) -> NTSTATUS { return kNoMemory; }),
      // The service keeps a state of a verification that failed too.
      Verify::With([](HWND window, GUID* action, void* data) -> LONG {
        Verify::Original()(window, action, data);
        return kProviderUnknown;
      }),
      Fallible<"WTHelperProvDataFromStateData", decltype(WTHelperProvDataFromStateData)>::With(
          [](auto...) -> CRYPT_PROVIDER_DATA* { return nullptr; }),
      Fallible<"WTHelperGetProvSignerFromChain", decltype(WTHelperGetProvSignerFromChain)>::With(
          [](auto...) -> CRYPT_PROVIDER_SGNR* { return nullptr; }),
      Fallible<"WTHelperGetProvCertFromChain", decltype(WTHelperGetProvCertFromChain)>::With(
          [](auto...) -> CRYPT_PROVIDER_CERT* { return nullptr; }),
      Fallible<"CertNameToStrW", decltype(CertNameToStrW)>::With(
          [](auto...) -> DWORD { return 0; }),
      Fallible<"PathRemoveFileSpecW", decltype(PathRemoveFileSpecW)>::With(
          [](auto...) -> BOOL { return FALSE; }),
      Fallible<"PathAddBackslashW", decltype(PathAddBackslashW)>::With(
          [](auto...) -> LPWSTR { return nullptr; }),
      Fallible<"_mkgmtime64", __time64_t(std::tm*)>::With(
          [](std::tm*) -> __time64_t { return -1; }),
      // The runtimes that report an overflow in place of ending the process.
      Fallible<"strcpy_s", errno_t(char*, std::size_t, const char*)>::With(
          [](auto...) -> errno_t { return ERANGE; }),
      Fallible<"wcscpy_s", errno_t(wchar_t*, std::size_t, const wchar_t*)>::With(
          [](auto...) -> errno_t { return ERANGE; }),
  };
}

// What reports no failure, or cannot meet one with what the library hands it.
constexpr const char* kInfallible[] = {
    // memory and text of known sizes
    "memcpy",
    "memmove",
    "memset",
    "memcmp",
    "memchr",
    "strlen",
    "wcslen",
    "strcmp",
    "wcscmp",
    "strncmp",
    "_strlwr",
    "wcsncpy_s",
    "wcscat_s",
    "wcschr",
    "wcsspn",
    "PathIsRelativeW",
    // the hook at exit, which does nothing: without it nothing changes
    "_register_onexit_function",
    "_crt_atexit",
    "_onexit",
    "__dllonexit",
    "_lock",
    "_unlock",
    // what only answers or waits
    "GetLastError",
    "SetLastError",
    "GetCurrentThreadId",
    "timeGetTime",
    "Sleep",
    "_errno",
    // the unwinding of an exception
    "RaiseException",
    "RtlCaptureContext",
    "RtlLookupFunctionEntry",
    "RtlUnwindEx",
    "RtlVirtualUnwind",
    "RtlRestoreContext",
    "GetCurrentProcess",
    "__C_specific_handler",
    // its record of the thread, made at the first exception and kept; without it the process ends
    "InitOnceExecuteOnce",
    "FlsAlloc",
    "FlsGetValue",
    "FlsSetValue",
    "TlsAlloc",
    "TlsGetValue",
    "TlsSetValue",
};

const std::vector<Rule>& Rules() {
  static const std::vector<Rule> rules = [] {
    std::vector<Rule> all = HeapRules();
    for (const auto& more : {KernelRules(), ServiceRules()}) {
      all.insert(all.end(), more.begin(), more.end());
    }
    return all;
  }();
  return rules;
}

bool IsCode(const void* address) {
  MEMORY_BASIC_INFORMATION information{};
  VirtualQuery(address, &information, sizeof(information));
  constexpr DWORD kExecutable =
      PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  return (information.Protect & kExecutable) != 0;
}

constexpr std::size_t kCodeBytes = 64 * 1024;

#if defined(__aarch64__)
// Counts, and goes on to the target with every argument as it was: x16 and x17 are the linker's.
constexpr std::uint32_t kCounterCode[] = {
    0x100000D0,  // adr  x16, counter (at 24)
    0xF9400211,  // ldr  x17, [x16]
    0x91000631,  // add  x17, x17, #1
    0xF9000211,  // str  x17, [x16]
    0xF9400610,  // ldr  x16, [x16, #8]
    0xD61F0200,  // br   x16
};
#else
constexpr unsigned char kCounterCode[] = {
    0x48, 0xFF, 0x05, 0x11, 0x00, 0x00, 0x00,        // inc  qword [counter] (at 24)
    0xFF, 0x25, 0x13, 0x00, 0x00, 0x00,              // jmp  [target] (at 32)
    0x90, 0x90, 0x90, 0x90, 0x90, 0x90, 0x90, 0x90,  //
    0x90, 0x90, 0x90,
};
#endif
static_assert(sizeof(kCounterCode) == 24);

}  // namespace

FailingImports::FailingImports(HMODULE module)
    : code(static_cast<unsigned char*>(
          VirtualAlloc(nullptr, kCodeBytes, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE))) {
  for (ImportTable table(module); table.IsValid(); table.Next()) {
    Replace(table.Name(), table.Slot());
  }
  FlushInstructionCache(GetCurrentProcess(), code, kCodeBytes);
}

FailingImports::~FailingImports() {
  for (const Patch& patch : patches) {
    ImportTable::Write(patch.slot, patch.original);
  }
  VirtualFree(code, 0, MEM_RELEASE);
}

void FailingImports::Replace(const char* name, void** slot) {
  if (!IsCode(*slot)) {
    return;  // the runtime's data
  }
  patches.push_back({slot, *slot});
  for (const Rule& rule : Rules()) {
    if (std::strcmp(rule.name, name) == 0) {
      *rule.original = *slot;
      ImportTable::Write(slot, rule.replacement);
      if (rule.canFail) {
        fallible.push_back(name);
      }
      return;
    }
  }
  const bool isInfallible =
      std::any_of(std::begin(kInfallible), std::end(kInfallible),
                  [&](const char* known) { return !std::strcmp(known, name); });
  if (!isInfallible) {
    ImportTable::Write(slot, MakeCounter(name, *slot));
  }
}

void* FailingImports::MakeCounter(const char* name, void* target) {
  struct Data {
    long long calls;
    void* target;
  };
  unsigned char* place = code + codeUsed;
  codeUsed += sizeof(kCounterCode) + sizeof(Data);
  std::memcpy(place, kCounterCode, sizeof(kCounterCode));
  auto* data = reinterpret_cast<Data*>(place + sizeof(kCounterCode));
  *data = {0, target};
  counters.push_back({name, &data->calls});
  return place;
}

void FailingImports::Arm(int n, bool forGood) {
  failed = nullptr;
  failsForGood = forGood;
  callsUntilFailure = n;
  isArmed = true;
}

const char* FailingImports::Disarm() {
  isArmed = false;
  return failed;
}

std::vector<std::string> FailingImports::WhatCanFail() const { return fallible; }

std::vector<std::string> FailingImports::CalledWithoutRule() const {
  std::vector<std::string> names;
  for (const Counter& counter : counters) {
    if (*counter.calls != 0) {
      names.push_back(counter.name);
    }
  }
  return names;
}

}  // namespace Cifra::Test

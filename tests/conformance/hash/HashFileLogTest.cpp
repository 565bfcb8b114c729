#include <windows.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "hash/HashData.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

// The order in which HashFile logs, allocates and opens, and whose error code it returns. The log
// is this program.
namespace Cifra::Test {
namespace {

constexpr std::size_t kBufferBytes = 4'194'304;
constexpr DWORD kLeftByTheLog = 99;

std::vector<std::string> events;

// The formats have at most one argument, a path or a number.
HRESULT RecordMessage(std::int32_t, const std::uint32_t* level, HMODULE, const wchar_t*,
                      const wchar_t* format, va_list arguments) {
  const std::wstring wide = format;
  std::string line = std::to_string(*level) + " " + std::string(wide.begin(), wide.end());
  if (wide.find(L"%d") != std::wstring::npos) {
    line += " " + std::to_string(va_arg(arguments, unsigned));
  }
  events.push_back(line);
  SetLastError(kLeftByTheLog);
  return S_OK;
}

BOOL WINAPI FindThisProgram(DWORD, LPCWSTR, HMODULE* module) {
  return GetModuleHandleExW(0, nullptr, module);
}

FARPROC WINAPI FindLogWrite(HMODULE module, LPCSTR name) {
  return std::strcmp(name, "LogWrite") == 0
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&RecordMessage))
             : GetProcAddress(module, name);
}

void* RecordBuffer(std::size_t bytes) {
  if (bytes == kBufferBytes) {
    events.push_back("buffer");
  }
  return std::malloc(bytes);
}

HANDLE WINAPI RecordOpen(LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security,
                         DWORD disposition, DWORD flags, HANDLE pattern) {
  events.push_back("open");
  return CreateFileW(path, access, sharing, security, disposition, flags, pattern);
}

BOOL WINAPI FailToRead(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) {
  events.push_back("read");
  SetLastError(ERROR_IO_DEVICE);
  return FALSE;
}

template <typename Kind>
class HashFileLog : public testing::Test {
 protected:
  // The result for a file; what was done meanwhile is in events.
  static std::uint32_t HashFile(const std::filesystem::path& path) {
    const HMODULE module = Library().Module();
    const ImportPatch log(module, "GetModuleHandleExW", &FindThisProgram);
    const ImportPatch write(module, "GetProcAddress", &FindLogWrite);
    const ImportPatch allocate(module, "malloc", &RecordBuffer);
    const ImportPatch open(module, "CreateFileW", &RecordOpen);
    const Object<typename Kind::Interface> hash(Library());
    kx::StringT<wchar_t> digest;
    events.clear();
    const std::uint32_t result = hash->HashFile(path.c_str(), digest);
    return result;
  }

  TempDirectory directory;
};

using Kinds = testing::Types<Md5Kind, Sha256Kind>;
TYPED_TEST_SUITE(HashFileLog, Kinds);
using Events = std::vector<std::string>;

TYPED_TEST(HashFileLog, Message_ComesBeforeTheBufferAndThatBeforeTheFile) {
  WriteFileOfSize(this->directory / L"file", 10);
  EXPECT_EQ(std::uint32_t{kCifraSuccess}, this->HashFile(this->directory / L"file"));
  EXPECT_EQ((Events{"32 Checking file %s", "buffer", "open"}), events);
}

TYPED_TEST(HashFileLog, ErrorOfTheOpen_IsTakenBeforeTheLogIsCalled) {
  EXPECT_EQ(2u, this->HashFile(this->directory / L"missing"));
  EXPECT_EQ(
      (Events{"32 Checking file %s", "buffer", "open", "4 The handle is not valid. Error is %d 2"}),
      events);
}

TYPED_TEST(HashFileLog, ErrorOfARead_IsAskedForAgainAfterTheLog) {
  WriteFileOfSize(this->directory / L"file", 10);
  const ImportPatch read(Library().Module(), "ReadFile", &FailToRead);
  EXPECT_EQ(kLeftByTheLog, this->HashFile(this->directory / L"file"));
  EXPECT_EQ((Events{"32 Checking file %s", "buffer", "open", "read",
                    "4 Reading from file returned false and error %d 1117"}),
            events);
}

}  // namespace
}  // namespace Cifra::Test

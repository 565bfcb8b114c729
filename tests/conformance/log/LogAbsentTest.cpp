#include <windows.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

// The library where there is no log.dll.
namespace Cifra::Test {
namespace {

std::vector<std::wstring> calls;

BOOL WINAPI FindNoLog(DWORD flags, LPCWSTR name, HMODULE* module) {
  calls.push_back(L"find " + std::to_wstring(flags) + L" " + name);
  *module = nullptr;
  return FALSE;
}

HMODULE WINAPI LoadNoLog(LPCWSTR file) {
  calls.push_back(L"load " + std::wstring(file));
  return nullptr;
}

FARPROC WINAPI RecordResolved(HMODULE module, LPCSTR name) {
  calls.push_back(L"resolve");
  return GetProcAddress(module, name);
}

BOOL WINAPI RecordFreed(HMODULE module) {
  calls.push_back(L"free");
  return FreeLibrary(module);
}

HANDLE WINAPI RecordOpened(LPCWSTR path, DWORD access, DWORD sharing,
                           LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                           HANDLE pattern) {
  calls.push_back(L"open " + std::wstring(path));
  return CreateFileW(path, access, sharing, security, disposition, flags, pattern);
}

TEST(LogAbsent, AfterTheSearchForTheLog_NothingIsTouched) {
  const HMODULE module = Library().Module();
  const ImportPatch find(module, "GetModuleHandleExW", &FindNoLog);
  const ImportPatch load(module, "LoadLibraryW", &LoadNoLog);
  const ImportPatch resolve(module, "GetProcAddress", &RecordResolved);
  const ImportPatch freeing(module, "FreeLibrary", &RecordFreed);
  const ImportPatch open(module, "CreateFileW", &RecordOpened);
  const std::vector<std::wstring> search = {
      L"find 0 log.dll", L"load " + FileUnderTest().replace_filename(L"log.dll").wstring()};
  calls.clear();
  {
    const Object<IMd5> md5(Library());
    EXPECT_EQ(search, calls);
    kx::StringT<wchar_t> digest;
    md5->Update(reinterpret_cast<const std::uint8_t*>("abc"), 3);
    md5->GetHashString(digest);
    EXPECT_STREQ(L"900150983CD24FB0D6963F7D28E17F72", digest.CStr());
    const Object<ISha256> sharing(Library());
  }
  EXPECT_EQ(search, calls);
}

}  // namespace
}  // namespace Cifra::Test

#include "framework/ModuleLoader.h"

#include <shlwapi.h>

#include "foundation/string/StringT.h"

namespace {

constexpr wchar_t kLibraryFile[] = L"Cifra.dll";
constexpr DWORD kPathSize = 260;  // characters, terminator included

// The search flags exist on the systems that have SetDefaultDllDirectories.
DWORD LoadFlags() {
  const HMODULE kernel = GetModuleHandleW(L"Kernel32.dll");
  return GetProcAddress(kernel, "SetDefaultDllDirectories")
             ? LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS
             : LOAD_WITH_ALTERED_SEARCH_PATH;
}

// Removes the file name from a module's path, keeping the directory and its separator.
void KeepDirectory(wchar_t* path) {
  if (PathRemoveFileSpecW(path)) {
    PathAddBackslashW(path);
  }
}

void AppendFileName(kx::StringT<wchar_t>& path, const wchar_t* fileName) {
  if (!path.IsEmpty()) {
    const wchar_t last = path.CStr()[path.Length() - 1];
    if (last != L'\\' && last != L'/') {
      kx::FatalUnless(path.Append(L"\\"));
    }
  }
  kx::FatalUnless(path.Append(fileName));
}

// Loads the library from the directory of a module. A module path that is unknown or cut off at
// kPathSize leads to a path that does not exist, and the load fails.
kx::ModuleHandle LoadBeside(HMODULE neighbour, DWORD flags) {
  kx::FixedStringBuffer<wchar_t, kPathSize> frame;
  kx::StringT<wchar_t> path(frame);
  wchar_t* text = path.GetBuffer(kPathSize);
  const DWORD written = GetModuleFileNameW(neighbour, text, kPathSize);
  if (written != 0 && written != kPathSize) {
    KeepDirectory(text);
  }
  path.ReleaseBuffer();
  AppendFileName(path, kLibraryFile);
  return kx::ModuleHandle(LoadLibraryExW(path.CStr(), nullptr, flags));
}

}  // namespace

kx::ModuleHandle LoadCifraLibrary() {
  const DWORD flags = LoadFlags();
  kx::ModuleHandle module = LoadBeside(nullptr, flags);
  if (!module) {
    module = LoadBeside(kx::OwnModule(), flags);
  }
  return module;
}

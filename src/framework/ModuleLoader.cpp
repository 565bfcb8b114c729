#include "framework/ModuleLoader.h"

#include <shlwapi.h>

#include <cwchar>

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
void KeepDirectory(kx::StringT<wchar_t>& path) {
  wchar_t* text = path.GetBuffer(0);
  const bool isCut = PathRemoveFileSpecW(text);
  path.ReleaseBuffer();
  if (isCut) {
    PathAddBackslashW(text);
    path.ReleaseBuffer();
  }
}

// Loads the library from the directory of a module. An unknown module path leaves the bare file
// name, and one cut off at kPathSize leads to a path that does not exist.
kx::ModuleHandle LoadBeside(HMODULE neighbour, DWORD flags) {
  kx::FixedStringBuffer<wchar_t, kPathSize> frame;
  kx::StringT<wchar_t> path(frame);
  const DWORD written = GetModuleFileNameW(neighbour, path.GetBuffer(kPathSize), kPathSize);
  if (written != 0) {
    path.ReleaseBuffer();
    if (written != kPathSize) {
      KeepDirectory(path);
    }
  }
  AppendFileName(path, kLibraryFile);
  return kx::ModuleHandle(LoadLibraryExW(path.CStr(), nullptr, flags));
}

}  // namespace

void AppendFileName(kx::StringT<wchar_t>& path, const wchar_t* fileName) {
  constexpr wchar_t kSeparators[] = L"\\/";
  if (!path.IsEmpty() && !std::wcschr(kSeparators, path.CStr()[path.Length() - 1])) {
    kx::FatalUnless(path.Append(L"\\"));
  }
  kx::FatalUnless(path.Append(fileName + std::wcsspn(fileName, kSeparators)));
}

kx::ModuleHandle LoadCifraLibrary() {
  const DWORD flags = LoadFlags();
  if (!PathIsRelativeW(kLibraryFile)) {
    return kx::ModuleHandle(LoadLibraryExW(kLibraryFile, nullptr, flags));
  }
  kx::ModuleHandle module = LoadBeside(nullptr, flags);
  if (!module) {
    module = LoadBeside(kx::OwnModule(), flags);
  }
  return module;
}

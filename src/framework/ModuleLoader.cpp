#include "framework/ModuleLoader.h"

#include <shlwapi.h>

#include "foundation/string/StringT.h"

namespace {

constexpr wchar_t kLibraryFile[] = L"Cifra.dll";
constexpr DWORD kPathRoom = 260;

// Systems that know SetDefaultDllDirectories also know the search flags that came with it.
DWORD LoadFlags() {
  const HMODULE kernel = GetModuleHandleW(L"Kernel32.dll");
  return GetProcAddress(kernel, "SetDefaultDllDirectories")
             ? LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS
             : LOAD_WITH_ALTERED_SEARCH_PATH;
}

// Cuts the file name off a module's path and leaves the directory with its separator.
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

// A path that is unknown or cut off at kPathRoom makes one that does not exist, so that the load
// fails.
kx::ModuleHandle LoadBeside(HMODULE neighbour, DWORD flags) {
  kx::FixedStringBuffer<wchar_t, kPathRoom> frame;
  kx::StringT<wchar_t> path(frame);
  wchar_t* text = path.GetBuffer(kPathRoom);
  const DWORD written = GetModuleFileNameW(neighbour, text, kPathRoom);
  if (written != 0 && written != kPathRoom) {
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

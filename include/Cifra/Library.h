#pragma once

#include <windows.h>

#include <string>

#include "Cifra/Factory.h"
#include "Cifra/Functions.h"
#include "Cifra/Object.h"

namespace Cifra {

// Library is Cifra.dll, loaded at run time. Windows only; the one public header that includes
// windows.h, and therefore not part of Cifra.h.
//
// The library stays loaded until the process ends or Unload is called, whatever happens to the
// Library: strings, lists and maps that it filled free their memory with its code, and only the
// caller knows when the last of them is gone. Copies refer to the same loaded library.
class Library : public ObjectFactory {
 public:
  // Loads the library at `path`, which must be a full path. Its dependencies are taken from its own
  // folder and from the system's, never from the current folder or PATH; `search`, flags of
  // LoadLibraryExW, says otherwise.
  explicit Library(const std::wstring& path,
                   DWORD search = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32)
      : module(LoadLibraryExW(path.c_str(), nullptr, search)) {
    if (!module) {
      error = GetLastError();
      return;
    }
    Find("KxCreateObject", create);
    Find("KxDestroyObject", destroy);
    Find("BlowfishAndBase64Encode", encodeText);
    Find("Base64AndBlowfishDecode", decodeText);
    Find("CalculateTextMd5", textMd5);
    Find("CalculateWideCharTextMd5", wideTextMd5);
    if (missingExport) {
      Unload();
    }
  }

  // The library in the folder of the running program.
  static Library BesideProgram(const wchar_t* fileName = L"Cifra.dll") {
    return Library(ProgramFolder() + fileName);
  }

  // False when the file cannot be loaded or lacks one of the six exports.
  explicit operator bool() const { return module != nullptr; }

  // The platform's code of the failure: ERROR_MOD_NOT_FOUND (126), ERROR_BAD_EXE_FORMAT (193) for a
  // library for another processor, ERROR_INVALID_PARAMETER (87) for a path that is not a full one,
  // ERROR_PROC_NOT_FOUND (127) for a missing export; ERROR_SUCCESS otherwise.
  DWORD Error() const { return error; }

  // The first of the six exports that the file lacks; null when it lacks none.
  const char* MissingExport() const { return missingExport; }

  HMODULE Module() const { return module; }

  // Unloads the library. Only when every object of it is destroyed, and every string, list and map
  // that it filled.
  void Unload() {
    if (module) {
      FreeLibrary(module);
    }
    Library nothing;
    nothing.error = error;
    nothing.missingExport = missingExport;
    *this = nothing;
  }

  // The four functions of Functions.h; null without a library.
  CifraTextCipherFunction encodeText = nullptr;
  CifraTextCipherFunction decodeText = nullptr;
  CifraTextMd5Function textMd5 = nullptr;
  CifraWideTextMd5Function wideTextMd5 = nullptr;

 private:
  Library() = default;

  template <typename Function>
  void Find(const char* name, Function*& function) {
    // By way of void*: the compilers warn of casts between unlike function types.
    function = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (!function && !missingExport) {
      error = GetLastError();
      missingExport = name;
    }
  }

  static std::wstring ProgramFolder() {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(nullptr, &path[0], static_cast<DWORD>(path.size()))) ==
           path.size()) {
      path.resize(path.size() * 2);
    }
    path.resize(length);
    return path.substr(0, path.find_last_of(L"\\/") + 1);
  }

  HMODULE module = nullptr;
  DWORD error = ERROR_SUCCESS;
  const char* missingExport = nullptr;
};

}  // namespace Cifra

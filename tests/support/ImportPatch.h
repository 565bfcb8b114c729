#pragma once

#include <windows.h>

namespace Cifra::Test {

// ImportPatch replaces one function that a loaded module imports, for the patch's lifetime. The
// module's code is unchanged.
class ImportPatch {
 public:
  template <typename Function>
  ImportPatch(HMODULE module, const char* functionName, Function* replacement)
      : slot(FindSlot(module, functionName)), original(*slot) {
    Write(reinterpret_cast<void*>(replacement));
  }
  ~ImportPatch() { Write(original); }
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;

  // What the module calls otherwise.
  template <typename Function>
  Function& Original() const {
    return *reinterpret_cast<Function*>(original);
  }

 private:
  // Ends the program with a message when the module does not import the function.
  static void** FindSlot(HMODULE module, const char* functionName);
  void Write(void* function) const;

  void** slot;
  void* original;
};

// A replacement for LoadLibraryExW, which finds no library.
inline HMODULE WINAPI LoadNothing(LPCWSTR, HANDLE, DWORD) { return nullptr; }

}  // namespace Cifra::Test

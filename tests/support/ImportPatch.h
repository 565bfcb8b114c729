#pragma once

#include <windows.h>

namespace Cifra::Test {

// ImportTable walks over what a loaded module imports from all its libraries. It takes no memory:
// it is used while there is none.
class ImportTable {
 public:
  explicit ImportTable(HMODULE walked);

  bool IsValid() const { return library->Name != 0; }
  void Next();

  // "by number" for what is imported so.
  const char* Name() const;
  // Where the module finds the address of the function, or of data.
  void** Slot() const { return reinterpret_cast<void**>(&address->u1.Function); }

  // Replaces what is in a slot.
  static void Write(void** slot, void* function);

 private:
  // Goes to the first function of this library or of the next one that has any.
  void FindFunction();

  HMODULE module;
  const IMAGE_IMPORT_DESCRIPTOR* library;
  const IMAGE_THUNK_DATA* name = nullptr;
  IMAGE_THUNK_DATA* address = nullptr;
};

// ImportPatch replaces one function that a loaded module imports, for the patch's lifetime. The
// module's code is unchanged.
class ImportPatch {
 public:
  template <typename Function>
  ImportPatch(HMODULE module, const char* functionName, Function* replacement)
      : slot(FindSlot(module, functionName)), original(*slot) {
    ImportTable::Write(slot, reinterpret_cast<void*>(replacement));
  }
  ~ImportPatch() { ImportTable::Write(slot, original); }
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

  void** slot;
  void* original;
};

// A replacement for LoadLibraryExW, which finds no library.
inline HMODULE WINAPI LoadNothing(LPCWSTR, HANDLE, DWORD) { return nullptr; }

}  // namespace Cifra::Test

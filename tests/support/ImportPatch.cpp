#include "support/ImportPatch.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Cifra::Test {
namespace {

template <typename T>
T* At(HMODULE module, std::size_t offset) {
  return reinterpret_cast<T*>(reinterpret_cast<std::byte*>(module) + offset);
}

}  // namespace

ImportTable::ImportTable(HMODULE walked) : module(walked) {
  const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
  const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  library = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
  FindFunction();
}

void ImportTable::Next() {
  ++name;
  ++address;
  if (name->u1.AddressOfData == 0) {
    ++library;
    FindFunction();
  }
}

const char* ImportTable::Name() const {
  if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
    return "by number";
  }
  const auto* import = At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData);
  return reinterpret_cast<const char*>(import->Name);
}

void ImportTable::Write(void** slot, void* function) {
  DWORD before = 0;
  VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &before);
  *slot = function;
  VirtualProtect(slot, sizeof(*slot), before, &before);
}

void ImportTable::FindFunction() {
  for (; library->Name != 0; ++library) {
    name = At<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
    address = At<IMAGE_THUNK_DATA>(module, library->FirstThunk);
    if (name->u1.AddressOfData != 0) {
      return;
    }
  }
}

void** ImportPatch::FindSlot(HMODULE module, const char* functionName) {
  for (ImportTable table(module); table.IsValid(); table.Next()) {
    if (std::strcmp(table.Name(), functionName) == 0) {
      return table.Slot();
    }
  }
  std::fprintf(stderr, "the module does not import %s\n", functionName);
  std::exit(EXIT_FAILURE);
}

}  // namespace Cifra::Test

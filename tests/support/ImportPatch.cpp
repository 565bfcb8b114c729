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

void** ImportPatch::FindSlot(HMODULE module, const char* functionName) {
  const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
  const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
  for (; library->Name != 0; ++library) {
    const auto* name = At<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
    auto* address = At<IMAGE_THUNK_DATA>(module, library->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
        continue;
      }
      const auto* import = At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(import->Name), functionName) == 0) {
        return reinterpret_cast<void**>(&address->u1.Function);
      }
    }
  }
  std::fprintf(stderr, "the module does not import %s\n", functionName);
  std::exit(EXIT_FAILURE);
}

void ImportPatch::Write(void* function) const {
  DWORD before = 0;
  VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &before);
  *slot = function;
  VirtualProtect(slot, sizeof(*slot), before, &before);
}

}  // namespace Cifra::Test

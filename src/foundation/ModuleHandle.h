#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace kx {

// The module that contains this code: Cifra.dll, or a test program that links it in.
extern "C" IMAGE_DOS_HEADER __ImageBase;
inline HMODULE OwnModule() { return reinterpret_cast<HMODULE>(&__ImageBase); }

struct ModuleCloser {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};

// ModuleHandle owns one load reference to a module.
using ModuleHandle = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleCloser>;

// Returns a module's export as a function of the given type, or null if there is none.
template <typename Function>
Function* FindProcedure(HMODULE module, const char* name) {
  // Through void*: compilers warn about casts between unrelated function types.
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace kx

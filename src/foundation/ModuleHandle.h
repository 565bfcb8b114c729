#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace kx {

// This library's own module: the image that contains the code.
extern "C" IMAGE_DOS_HEADER __ImageBase;
inline HMODULE OwnModule() { return reinterpret_cast<HMODULE>(&__ImageBase); }

struct ModuleCloser {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};

// ModuleHandle owns one load reference of a module.
using ModuleHandle = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleCloser>;

// The address of an export as a function of the given type, or null.
template <typename Function>
Function* FindProcedure(HMODULE module, const char* name) {
  // By way of void*: the compilers warn of casts between unlike function types.
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace kx

#pragma once

#include <windows.h>

#include <memory>

namespace client {

// One owner type for each kind of handle; the closing call is part of the type.
struct FileCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, FileCloser>;

struct FindCloser {
  void operator()(HANDLE handle) const { FindClose(handle); }
};
using FindHandle = std::unique_ptr<void, FindCloser>;

struct ModuleFreer {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};
using ModuleHandle = std::unique_ptr<HINSTANCE__, ModuleFreer>;

// Memory that the system allocated for its answer.
struct LocalFreer {
  void operator()(void* memory) const { LocalFree(memory); }
};
template <typename Answer>
using LocalMemory = std::unique_ptr<Answer, LocalFreer>;

// The platform says "no handle" with null or INVALID_HANDLE_VALUE; the owners above know null only.
inline HANDLE NullIfInvalid(HANDLE handle) {
  return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

}  // namespace client

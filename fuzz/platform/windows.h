#pragma once

// As much of the platform as the name splitting asks for, so that it can be fuzzed on the machine
// that builds it. The fuzzer plays the platform's part. Here wchar_t has 32 bits.
#include <cstdint>

#define WINAPI

using BOOL = int;
using DWORD = std::uint32_t;
using HRESULT = std::int32_t;

struct Module;
using HMODULE = Module*;
struct IMAGE_DOS_HEADER {};

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_DS_NAME_UNPARSEABLE = 8350;
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);

HMODULE LoadLibraryW(const wchar_t* name);
void* GetProcAddress(HMODULE module, const char* name);
BOOL FreeLibrary(HMODULE module);
inline void Sleep(DWORD) {}

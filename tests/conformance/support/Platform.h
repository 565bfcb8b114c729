#pragma once

#include <windows.h>

#include <cstdint>

namespace Cifra::Test {

// Where Wine behaves otherwise than Windows, tests expect what this table says.
struct PlatformDifferences {
  // The exit code after a return to an address that cannot be.
  std::uint32_t invalidReturn;
  // What CertNameToStrW calls the attribute type 1.2.3.4, which has no short name.
  const wchar_t* unnamedType;
};

inline constexpr PlatformDifferences kOnWindows{0xC0000005, L"OID.1.2.3.4"};
inline constexpr PlatformDifferences kOnWine{1, L"1.2.3.4"};

inline bool IsWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

inline const PlatformDifferences& Platform() { return IsWine() ? kOnWine : kOnWindows; }

}  // namespace Cifra::Test

#pragma once

#include <cstdint>

// InterfaceId identifies an interface: 16 bytes with the layout of a Windows GUID. Two identifiers
// are equal if all 16 bytes are.
struct InterfaceId {
  std::uint32_t data1;
  std::uint16_t data2;
  std::uint16_t data3;
  std::uint8_t data4[8];

  friend constexpr bool operator==(const InterfaceId&, const InterfaceId&) = default;
};
static_assert(sizeof(InterfaceId) == 16);

#pragma once

#include <cstdint>

// InterfaceId identifies an interface: 16 bytes with the layout of a Windows GUID. Two identifiers
// are equal if all 16 bytes are.
struct InterfaceId {
  std::uint32_t data1;
  std::uint16_t data2;
  std::uint16_t data3;
  std::uint8_t data4[8];

  // Written out, because C++17 cannot default them.
  friend constexpr bool operator==(const InterfaceId& left, const InterfaceId& right) {
    for (int i = 0; i < 8; ++i) {
      if (left.data4[i] != right.data4[i]) {
        return false;
      }
    }
    return left.data1 == right.data1 && left.data2 == right.data2 && left.data3 == right.data3;
  }
  friend constexpr bool operator!=(const InterfaceId& left, const InterfaceId& right) {
    return !(left == right);
  }
};
static_assert(sizeof(InterfaceId) == 16);

#pragma once

#include <cstddef>
#include <cstdint>

// The initial tables of Blowfish: the hexadecimal digits of the fraction of pi, in reading order.
namespace Cifra::BlowfishTables {

inline constexpr std::size_t kPWords = 18;
inline constexpr std::size_t kSWords = 1024;

extern const std::uint32_t kInitialP[kPWords];
extern const std::uint32_t kInitialS[kSWords];

}  // namespace Cifra::BlowfishTables

#pragma once

#include <cstddef>
#include <cstdint>

// Tables that the vector kernels share, for instructions that look 16 bytes up at once. The method
// is that of W. Mula and D. Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions"
// (2018).
namespace Cifra::Base64Codec {

// What is added to a value to make its character, by the value's class: 0 for 26 to 51, 1 to 10 for
// the digits, 11 and 12 for '+' and '/', 13 for 0 to 25.
inline constexpr std::uint8_t kLastLetterValue = 51;
inline constexpr std::uint8_t kCapitals = 26;
inline constexpr std::uint8_t kCapitalsClass = 13;
alignas(16) inline constexpr std::int8_t kToCharacter[16] = {
    'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
    '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A',      0,        0};

// A character is not of the alphabet when the entries for its high and its low half have a bit in
// common. Bit 0 stands for the high half 2, bit 1 for 3, bit 2 for 4 and 6, bit 3 for 5 and 7, bit
// 4 for all others.
alignas(16) inline constexpr std::int8_t kForeignByHighHalf[16] = {
    0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
alignas(16) inline constexpr std::int8_t kForeignByLowHalf[16] = {
    0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};

// What is added to a character to make its value, by its high half; '/', which has the high half of
// '+', takes the entry before.
alignas(16) inline constexpr std::int8_t kToValue[16] = {
    0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0};

}  // namespace Cifra::Base64Codec

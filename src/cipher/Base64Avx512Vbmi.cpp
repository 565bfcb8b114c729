#include "cipher/Base64Alphabet.h"
#include "cipher/Base64Kernel.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

// Needs AVX-512 with VBMI, whose byte permutations are a look-up among all 64 characters at once;
// chosen wherever the processor has it. The method is that of W. Mula and D. Lemire, "Base64
// encoding and decoding at almost the speed of a memory copy" (2019). Masked loads and stores take
// what is left over at the end, so that nothing is done byte by byte. This file is compiled for
// AVX-512 and calls nothing that other files could share.
namespace Cifra::Base64Codec {

namespace {

using Register = __m512i;
constexpr std::size_t kStepBytes = 48;  // of data; as text, they fill a register
constexpr std::size_t kStepCharacters = 64;

__mmask64 FirstBytes(std::size_t count) {  // 1 to 64
  return ~std::uint64_t{0} >> (64 - count);
}

Register Load(const void* bytes) { return _mm512_loadu_si512(bytes); }

// The characters of 48 bytes.
Register ToCharacters(Register bytes, Register order, Register alphabet) {
  // Each word of 4 bytes is 1 0 2 1 of a group, where the 4 values are fields of neighbouring bits,
  // which begin at bits 10, 4, 22 and 16. The look-up takes no notice of the 2 bits above a value.
  const Register words = _mm512_permutexvar_epi8(order, bytes);
  const Register fields = _mm512_set1_epi64(0x3036242A1016040A);
  return _mm512_permutexvar_epi8(_mm512_multishift_epi64_epi8(fields, words), alphabet);
}

struct Order {
  alignas(64) std::uint8_t places[64];
};

constexpr Order kEncodeOrder = [] {
  Order order{};
  for (unsigned group = 0; group < 16; ++group) {
    for (unsigned i = 0; i < 4; ++i) {
      constexpr unsigned kPlaces[] = {1, 0, 2, 1};
      order.places[4 * group + i] = static_cast<std::uint8_t>(3 * group + kPlaces[i]);
    }
  }
  return order;
}();

// The low 3 bytes of each word, most significant first.
constexpr Order kDecodeOrder = [] {
  Order order{};
  for (unsigned i = 0; i < 48; ++i) {
    order.places[i] = static_cast<std::uint8_t>(i / 3 * 4 + 2 - i % 3);
  }
  return order;
}();

constexpr std::uint8_t kInvalid = 0x80;
alignas(64) constexpr auto kValues = TableByCharacter<128>(0, kInvalid,
                                                           [](unsigned value) { return value; });

class Decoder {
 public:
  // The bytes of 64 characters. A character that is not of the alphabet sets the top bit of its
  // byte in invalid, as do those beyond the table by their own top bit.
  Register ToBytes(Register characters) {
    const Register values = _mm512_permutex2var_epi8(low, characters, high);
    invalid = _mm512_ternarylogic_epi32(invalid, characters, values, 0xFE);  // OR of the three
    const Register pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const Register words = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return _mm512_permutexvar_epi8(order, words);
  }
  bool IsValid() const { return _mm512_movepi8_mask(invalid) == 0; }

 private:
  Register low = Load(kValues.data());
  Register high = Load(kValues.data() + 64);
  Register order = Load(kDecodeOrder.places);
  Register invalid = _mm512_setzero_si512();
};

}  // namespace

void EncodeAvx512Vbmi(const std::uint8_t* input, std::size_t inputLength, char* output,
                      bool addPadding) {
  const Register order = Load(kEncodeOrder.places);
  const Register alphabet = Load(kAlphabet);
  for (; inputLength >= sizeof(Register); inputLength -= kStepBytes) {
    _mm512_storeu_si512(output, ToCharacters(Load(input), order, alphabet));
    input += kStepBytes;
    output += kStepCharacters;
  }
  while (inputLength > 0) {
    const std::size_t bytes = inputLength < kStepBytes ? inputLength : kStepBytes;
    const std::size_t characters = (4 * bytes + 2) / 3;
    const std::size_t stored = addPadding ? (bytes + 2) / 3 * 4 : characters;
    const Register text =
        ToCharacters(_mm512_maskz_loadu_epi8(FirstBytes(bytes), input), order, alphabet);
    const Register padded =
        _mm512_mask_mov_epi8(_mm512_set1_epi8('='), FirstBytes(characters), text);
    _mm512_mask_storeu_epi8(output, FirstBytes(stored), padded);
    inputLength -= bytes;
    input += kStepBytes;
    output += kStepCharacters;
  }
}

bool DecodeAvx512Vbmi(const char* text, std::size_t textLength, std::uint8_t* output) {
  // Text that must remain so that a full-register store stays inside the output.
  constexpr std::size_t kSlack = (sizeof(Register) - kStepBytes + 2) / 3 * 4;
  Decoder decoder;
  for (; textLength >= kStepCharacters + kSlack; textLength -= kStepCharacters) {
    _mm512_storeu_si512(output, decoder.ToBytes(Load(text)));
    text += kStepCharacters;
    output += kStepBytes;
  }
  while (textLength > 0) {
    const std::size_t characters = textLength < kStepCharacters ? textLength : kStepCharacters;
    const Register padded =
        _mm512_mask_loadu_epi8(_mm512_set1_epi8('A'), FirstBytes(characters), text);
    _mm512_mask_storeu_epi8(output, FirstBytes(characters * 3 / 4), decoder.ToBytes(padded));
    textLength -= characters;
    text += kStepCharacters;
    output += kStepBytes;
  }
  return decoder.IsValid();
}

}  // namespace Cifra::Base64Codec

#endif

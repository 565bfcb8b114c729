#include "cipher/Base64Alphabet.h"
#include "cipher/Base64Kernel.h"

#if defined(__aarch64__) || defined(_M_ARM64)

#include <arm_neon.h>

#include "foundation/CompilerHints.h"

// Chosen on every ARM64 processor. NEON's structure loads and stores take 3 or 4 streams apart and
// put them together again, so each register holds the first, second ... bytes or characters of as
// many groups as it has lanes; its look-ups reach 64 entries at once. A step takes 16 groups or 8;
// the last one goes back to end where the whole groups end.
namespace Cifra::Base64Codec {

namespace {

// 16 groups.
struct Wide {
  static constexpr std::size_t kGroups = 16;
  using Stream = uint8x16_t;
  static uint8x16x3_t LoadBytes(const std::uint8_t* bytes) { return vld3q_u8(bytes); }
  static uint8x16x4_t LoadText(const std::uint8_t* text) { return vld4q_u8(text); }
  static void Store(std::uint8_t* text, uint8x16x4_t streams) { vst4q_u8(text, streams); }
  static void Store(std::uint8_t* bytes, uint8x16x3_t streams) { vst3q_u8(bytes, streams); }
  static Stream Splat(std::uint8_t byte) { return vdupq_n_u8(byte); }
  static Stream And(Stream a, Stream b) { return vandq_u8(a, b); }
  static Stream Subtract(Stream a, Stream b) { return vsubq_u8(a, b); }
  template <int kBits>
  static Stream ShiftRight(Stream a) {
    return vshrq_n_u8(a, kBits);
  }
  template <int kBits>
  static Stream InsertLeft(Stream low, Stream a) {  // a << kBits over low
    return vsliq_n_u8(low, a, kBits);
  }
  static Stream LookUp(uint8x16x4_t table, Stream indices) { return vqtbl4q_u8(table, indices); }
  static Stream LookUpOr(Stream other, uint8x16_t table, Stream indices) {
    return vqtbx1q_u8(other, table, indices);
  }
  static std::uint8_t Least(Stream a) { return vminvq_u8(a); }
};

// 8 groups.
struct Narrow {
  static constexpr std::size_t kGroups = 8;
  using Stream = uint8x8_t;
  static uint8x8x3_t LoadBytes(const std::uint8_t* bytes) { return vld3_u8(bytes); }
  static uint8x8x4_t LoadText(const std::uint8_t* text) { return vld4_u8(text); }
  static void Store(std::uint8_t* text, uint8x8x4_t streams) { vst4_u8(text, streams); }
  static void Store(std::uint8_t* bytes, uint8x8x3_t streams) { vst3_u8(bytes, streams); }
  static Stream Splat(std::uint8_t byte) { return vdup_n_u8(byte); }
  static Stream And(Stream a, Stream b) { return vand_u8(a, b); }
  static Stream Subtract(Stream a, Stream b) { return vsub_u8(a, b); }
  template <int kBits>
  static Stream ShiftRight(Stream a) {
    return vshr_n_u8(a, kBits);
  }
  template <int kBits>
  static Stream InsertLeft(Stream low, Stream a) {
    return vsli_n_u8(low, a, kBits);
  }
  static Stream LookUp(uint8x16x4_t table, Stream indices) { return vqtbl4_u8(table, indices); }
  static Stream LookUpOr(Stream other, uint8x16_t table, Stream indices) {
    return vqtbx1_u8(other, table, indices);
  }
  static std::uint8_t Least(Stream a) { return vminv_u8(a); }
};

template <typename Simd>
using Text = decltype(Simd::LoadText(nullptr));
template <typename Simd>
using Bytes = decltype(Simd::LoadBytes(nullptr));

template <typename Simd>
KX_ALWAYS_INLINE void EncodeStep(const std::uint8_t* input, char* output, uint8x16x4_t alphabet) {
  const auto sixBits = Simd::Splat(63);
  const Bytes<Simd> bytes = Simd::LoadBytes(input);
  const auto b = bytes.val;
  const auto second = Simd::template InsertLeft<4>(Simd::template ShiftRight<4>(b[1]), b[0]);
  const auto third = Simd::template InsertLeft<2>(Simd::template ShiftRight<6>(b[2]), b[1]);
  Text<Simd> text;
  text.val[0] = Simd::LookUp(alphabet, Simd::template ShiftRight<2>(b[0]));
  text.val[1] = Simd::LookUp(alphabet, Simd::And(second, sixBits));
  text.val[2] = Simd::LookUp(alphabet, Simd::And(third, sixBits));
  text.val[3] = Simd::LookUp(alphabet, Simd::And(b[2], sixBits));
  Simd::Store(reinterpret_cast<std::uint8_t*>(output), text);
}

// The alphabet lies between '+' and 'z', which is 80 characters: 64 in one look-up, 16 in another.
// A valid entry has a bit set beside its value, which the other bits push out where they are
// joined; all other characters, and those beyond the table, give 0.
constexpr std::uint8_t kFirst = '+';
constexpr std::uint8_t kValid = 0x40;
constexpr auto kValues =
    TableByCharacter<80>(kFirst, 0, [](unsigned value) { return value | kValid; });

class Decoder {
 public:
  Decoder() : front(vld1q_u8_x4(kValues.data())), back(vld1q_u8(kValues.data() + 64)) {}

  // Whether all characters are of the alphabet; the bytes are written in any case.
  template <typename Simd>
  KX_ALWAYS_INLINE bool Step(const char* text, std::uint8_t* output) const {
    Text<Simd> values = Simd::LoadText(reinterpret_cast<const std::uint8_t*>(text));
    for (auto& stream : values.val) {
      const auto place = Simd::Subtract(stream, Simd::Splat(kFirst));
      stream =
          Simd::LookUpOr(Simd::LookUp(front, place), back, Simd::Subtract(place, Simd::Splat(64)));
    }
    const auto v = values.val;
    Bytes<Simd> bytes;
    bytes.val[0] = Simd::template InsertLeft<2>(Simd::template ShiftRight<4>(v[1]), v[0]);
    bytes.val[1] = Simd::template InsertLeft<4>(Simd::template ShiftRight<2>(v[2]), v[1]);
    bytes.val[2] = Simd::template InsertLeft<6>(v[3], v[2]);
    Simd::Store(output, bytes);
    const auto all = Simd::And(Simd::And(v[0], v[1]), Simd::And(v[2], v[3]));
    return Simd::Least(all) >= kValid;
  }

 private:
  uint8x16x4_t front;
  uint8x16_t back;
};

}  // namespace

void EncodeNeon(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding) {
  constexpr std::size_t kWideStep = 3 * Wide::kGroups;
  constexpr std::size_t kNarrowStep = 3 * Narrow::kGroups;
  const std::size_t whole = inputLength - inputLength % 3;
  std::size_t done = 0;
  if (whole >= kNarrowStep) {
    const uint8x16x4_t alphabet = vld1q_u8_x4(reinterpret_cast<const std::uint8_t*>(kAlphabet));
    for (; whole - done >= kWideStep; done += kWideStep) {
      EncodeStep<Wide>(input + done, output + done / 3 * 4, alphabet);
    }
    if (whole - done >= kNarrowStep) {
      EncodeStep<Narrow>(input + done, output + done / 3 * 4, alphabet);
      done += kNarrowStep;
    }
    if (whole > done) {
      const std::size_t last = whole - kNarrowStep;
      EncodeStep<Narrow>(input + last, output + last / 3 * 4, alphabet);
      done = whole;
    }
  }
  EncodeScalar(input + done, inputLength - done, output + done / 3 * 4, addPadding);
}

bool DecodeNeon(const char* text, std::size_t textLength, std::uint8_t* output) {
  constexpr std::size_t kWideStep = 4 * Wide::kGroups;
  constexpr std::size_t kNarrowStep = 4 * Narrow::kGroups;
  const std::size_t whole = textLength - textLength % 4;
  std::size_t done = 0;
  if (whole >= kNarrowStep) {
    const Decoder decoder;
    for (; whole - done >= kWideStep; done += kWideStep) {
      if (!decoder.Step<Wide>(text + done, output + done / 4 * 3)) {
        return false;
      }
    }
    if (whole - done >= kNarrowStep) {
      if (!decoder.Step<Narrow>(text + done, output + done / 4 * 3)) {
        return false;
      }
      done += kNarrowStep;
    }
    if (whole > done) {
      const std::size_t last = whole - kNarrowStep;
      if (!decoder.Step<Narrow>(text + last, output + last / 4 * 3)) {
        return false;
      }
      done = whole;
    }
  }
  return DecodeScalar(text + done, textLength - done, output + done / 4 * 3);
}

}  // namespace Cifra::Base64Codec

#endif

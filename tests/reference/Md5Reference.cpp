#include "reference/Md5Reference.h"

#include <array>
#include <bit>
#include <cmath>

namespace Cifra::Reference {

namespace {

using State = std::array<std::uint32_t, 4>;

// The auxiliary function and the message word of a step, in the notation of the RFC.
struct Step {
  std::uint32_t mix;
  std::size_t word;
};

Step StepOf(std::size_t step, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  switch (step / 16) {
    case 0:
      return {(b & c) | (~b & d), step % 16};
    case 1:
      return {(b & d) | (c & ~d), (5 * step + 1) % 16};
    case 2:
      return {b ^ c ^ d, (3 * step + 5) % 16};
    default:
      return {c ^ (b | ~d), 7 * step % 16};
  }
}

void Transform(State& state, const std::uint8_t* block) {
  constexpr int kRotations[4][4] = {
      {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
  auto [a, b, c, d] = state;
  for (std::size_t step = 0; step < 64; ++step) {
    const auto [mix, word] = StepOf(step, b, c, d);
    const double sine = std::abs(std::sin(static_cast<double>(step + 1)));
    std::uint32_t sum = a + mix + static_cast<std::uint32_t>(std::floor(std::ldexp(sine, 32)));
    for (int i = 0; i < 4; ++i) {
      sum += static_cast<std::uint32_t>(block[4 * word + static_cast<std::size_t>(i)]) << 8 * i;
    }
    a = d;
    d = c;
    c = b;
    b += std::rotl(sum, kRotations[step / 16][step % 4]);
  }
  state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
}

}  // namespace

std::vector<std::uint8_t> Md5(const std::uint8_t* message, std::size_t length) {
  std::vector<std::uint8_t> padded(message, message + length);
  padded.push_back(0x80);
  while (padded.size() % 64 != 56) {
    padded.push_back(0);
  }
  const std::uint64_t bits = std::uint64_t{length} * 8;
  for (int shift = 0; shift < 64; shift += 8) {
    padded.push_back(static_cast<std::uint8_t>(bits >> shift));
  }
  State state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
  for (std::size_t i = 0; i < padded.size(); i += 64) {
    Transform(state, &padded[i]);
  }
  std::vector<std::uint8_t> digest;
  for (const std::uint32_t word : state) {
    for (int shift = 0; shift < 32; shift += 8) {
      digest.push_back(static_cast<std::uint8_t>(word >> shift));
    }
  }
  return digest;
}

}  // namespace Cifra::Reference

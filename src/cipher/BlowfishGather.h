#pragma once

#include "cipher/BlowfishBlock.h"
#include "cipher/BlowfishKernel.h"

// Blowfish in vector registers of any width: each lane of a register holds one half of a block, and
// a gather looks up one S-box word for every lane. Several independent registers hide a gather's
// long latency. Simd wraps the instructions of a width. Each including file is compiled for its own
// instruction set and must define its own Simd type.
namespace Cifra::BlowfishBlocks {

using BlowfishBlock::Direction;

template <typename Simd>
struct Halves {
  typename Simd::Register left;
  typename Simd::Register right;
};

template <typename Simd>
KX_ALWAYS_INLINE typename Simd::Register GatherF(const std::uint32_t* s,
                                                 typename Simd::Register x) {
  const auto byte = Simd::Splat32(0xFF);
  const std::size_t box = BlowfishBlock::kBoxWords;
  const auto first = Simd::Gather(s, Simd::template ShiftRight32<24>(x));
  const auto second = Simd::Gather(s + box, Simd::And(Simd::template ShiftRight32<16>(x), byte));
  const auto third = Simd::Gather(s + 2 * box, Simd::And(Simd::template ShiftRight32<8>(x), byte));
  const auto fourth = Simd::Gather(s + 3 * box, Simd::And(x, byte));
  return Simd::Add32(Simd::Xor(Simd::Add32(first, second), third), fourth);
}

// The halves stay in place: odd and even rounds exchange their roles instead.
template <typename Simd, std::size_t kCount>
KX_ALWAYS_INLINE void GatherTwoRounds(Halves<Simd> (&groups)[kCount], const std::uint32_t* s,
                                      typename Simd::Register firstP,
                                      typename Simd::Register secondP) {
  for (auto& group : groups) {
    group.left = Simd::Xor(group.left, firstP);
    group.right = Simd::Xor(group.right, GatherF<Simd>(s, group.left));
  }
  for (auto& group : groups) {
    group.right = Simd::Xor(group.right, secondP);
    group.left = Simd::Xor(group.left, GatherF<Simd>(s, group.right));
  }
}

template <typename Simd, Direction kDirection, std::size_t kCount>
KX_ALWAYS_INLINE void GatherBlocks(const Tables& tables, const std::uint8_t* input,
                                   std::uint8_t* output) {
  const auto pWord = [p = tables.p](std::size_t step) {
    return Simd::Splat32(p[BlowfishBlock::PIndex<kDirection>(step)]);
  };
  Halves<Simd> groups[kCount];
  for (auto& group : groups) {
    Simd::LoadBlocks(input, group.left, group.right);
    input += Simd::kLanes * kBlockBytes;
  }
  for (std::size_t step = 0; step < 16; step += 2) {
    GatherTwoRounds<Simd>(groups, tables.s, pWord(step), pWord(step + 1));
  }
  for (auto& group : groups) {
    Simd::StoreBlocks(Simd::Xor(group.right, pWord(17)), Simd::Xor(group.left, pWord(16)), output);
    output += Simd::kLanes * kBlockBytes;
  }
}

// Four registers at a time, then two, then one where that is still faster than single loads.
template <typename Simd, Direction kDirection>
std::size_t GatherAll(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks) {
  std::size_t done = 0;
  const auto run = [&]<std::size_t kCount>() {
    constexpr std::size_t kBlocks = kCount * Simd::kLanes;
    for (; blocks - done >= kBlocks; done += kBlocks) {
      GatherBlocks<Simd, kDirection, kCount>(tables, input + done * kBlockBytes,
                                             output + done * kBlockBytes);
    }
  };
  run.template operator()<4>();
  run.template operator()<2>();
  if constexpr (Simd::kSingleRegisterPays) {
    run.template operator()<1>();
  }
  return done;
}

}  // namespace Cifra::BlowfishBlocks

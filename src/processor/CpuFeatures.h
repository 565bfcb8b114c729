#pragma once

// What the processor at hand and its operating system offer beyond the baseline instruction set.
// All answers stay the same for the life of the process.
namespace Cifra::CpuFeatures {

#if defined(__x86_64__) || defined(_M_X64)
bool HasSsse3();
bool HasAvx2();
bool HasAvx512();  // F, BW, DQ and VL: what all processors with 512-bit registers for bytes have
bool HasAvx512Vbmi();  // the above and the byte permutations of VBMI

// Whether gathers beat as many single loads. No feature bit says so: on AMD they are slow, and from
// 2023 on microcode made them slow on Intel's designs from Skylake to Tiger Lake and Ice Lake,
// whose loads leak between threads. Intel's later designs are told by the instructions that came
// with them. Hybrid processors are left out: a thread may move to a core on which they are slow.
bool HasFastGathers();

// Whether the vector rotation takes one cycle, as on Intel; on AMD it takes two.
bool HasFastVectorRotation();
#endif

}  // namespace Cifra::CpuFeatures

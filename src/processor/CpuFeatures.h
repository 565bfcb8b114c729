#pragma once

// What the processor and the operating system support beyond the baseline instruction set. Answers
// do not change during the life of the process.
namespace Cifra::CpuFeatures {

#if defined(__x86_64__) || defined(_M_X64)
bool HasSsse3();
bool HasAvx2();
bool HasAvx512();      // F, BW, DQ and VL: every processor with 512-bit byte operations has them
bool HasAvx512Vbmi();  // the above and the byte permutations of VBMI

// Whether a gather is faster than single loads. No feature bit says so: gathers are slow on AMD,
// and since 2023 microcode makes them slow on Intel's designs from Skylake to Tiger Lake and Ice
// Lake, whose loads leak between threads. Later Intel designs are recognised by newer instructions.
// Hybrid processors are excluded: a thread may move to a core where gathers are slow.
bool HasFastGathers();

// Whether the vector rotation takes one cycle, as on Intel; on AMD it takes two.
bool HasFastVectorRotation();
#endif

}  // namespace Cifra::CpuFeatures

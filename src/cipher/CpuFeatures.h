#pragma once

// What the processor at hand and its operating system offer beyond the least of their kind.
namespace Cifra::CpuFeatures {

#if defined(__x86_64__) || defined(_M_X64)
bool HasSsse3();
bool HasAvx2();
#endif

}  // namespace Cifra::CpuFeatures

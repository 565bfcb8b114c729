#include <cstdlib>
#include <iostream>

#include "Bench.h"
#include "foundation/ValueBarrier.h"
#include "processor/KernelRules.h"

namespace Cifra::Bench {

void Require(bool condition, const std::string& library) {
  if (!condition) {
    std::cerr << library << " gives another result than Cifra\n";
    std::exit(1);
  }
}

}  // namespace Cifra::Bench

namespace {

using namespace Cifra;

// A chain of multiplications, each of which takes 3 cycles on all processors that the library runs
// on: what a cycle takes while all else is measured, whatever the nominal clock is.
struct Clock {
  static constexpr std::size_t kCyclesEach = 3;
  std::size_t multiplications;
  std::uint64_t value = 3;

  explicit Clock(std::size_t cycles) : multiplications(cycles / kCyclesEach) {}
  void operator()() {
    for (std::size_t i = 0; i < multiplications; ++i) {
      value = kx::ValueBarrier(value * kx::ValueBarrier(value));
    }
    benchmark::DoNotOptimize(value);
  }
};

std::string ChosenKernels() {
  using namespace KernelRules;
  return std::string("Base64 ") + Chosen(kBase64).name + ", Blowfish " + Chosen(kBlowfish).name +
         ", MD5 " + Chosen(kMd5).name;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::AddCustomContext("kernels", ChosenKernels());
  Bench::Register();
  Bench::Add<Clock>("clock", "cycles", 30'000);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

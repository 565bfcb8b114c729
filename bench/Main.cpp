#include <cstdlib>
#include <iostream>

#include "Bench.h"

namespace Cifra::Bench {

void Require(bool condition, const std::string& library) {
  if (!condition) {
    std::cerr << library << " gives another result than Cifra\n";
    std::exit(1);
  }
}

}  // namespace Cifra::Bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  Cifra::Bench::Register();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

// What the benchmarks have in common. A subject is an object that is made for a size and whose call
// operator does the timed work once; a row is what several libraries' subjects do alike.
namespace Cifra::Bench {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t kSizes[] = {8, 16, 64, 256, 1024, 16384, 65536, 1 << 20, 16 << 20};

inline Bytes RandomBytes(std::size_t count) {
  std::mt19937_64 engine(count);
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(engine());
  }
  return bytes;
}

// Registers row/library/size; the table maker (scripts/bench) takes the names apart again.
template <typename Subject>
void Add(const std::string& row, const std::string& library, std::size_t size) {
  const std::string name = row + "/" + library + "/" + std::to_string(size);
  benchmark::RegisterBenchmark(name.c_str(), [size](benchmark::State& state) {
    Subject subject(size);
    for (auto _ : state) {
      subject();
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
  });
}

template <typename Subject>
void AddForAllSizes(const std::string& row, const std::string& library) {
  for (const std::size_t size : kSizes) {
    Add<Subject>(row, library, size);
  }
}

// What the program at hand is to time.
void Register();

// Each checks first that its libraries agree, and ends the program when they do not.
void RegisterBase64();
void RegisterBlowfish();
void RegisterMd5();

void Require(bool condition, const std::string& library);

}  // namespace Cifra::Bench

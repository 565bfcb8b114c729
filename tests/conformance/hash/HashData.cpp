#include "hash/HashData.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "support/TestData.h"

namespace Cifra::Test {
namespace {

constexpr std::size_t kPoolWords = 8192;
constexpr std::size_t kMaxLength = 1000;
constexpr std::size_t kMaxShortLength = 125;

struct Digests {
  std::string md5;
  std::string sha256;
};

const Digests& Find(const std::string& name, std::uint64_t number) {
  static const auto all = [] {
    std::map<std::string, Digests> digests;
    for (const auto& fields : Cifra::Test::ReadVectors("hash-digests.txt")) {
      digests[fields.at(0) + fields.at(1)] = {UpperCase(fields.at(2)), UpperCase(fields.at(3))};
    }
    return digests;
  }();
  return all.at(name + std::to_string(number));
}

}  // namespace

Messages::Messages() {
  for (std::size_t i = 0; i < kPoolWords; ++i) {
    const std::uint64_t word = NextNumber();
    for (int shift = 0; shift < 64; shift += 8) {
      pool.push_back(static_cast<std::uint8_t>(word >> shift));
    }
  }
}

std::span<const std::uint8_t> Messages::Prefix(std::size_t length) const {
  return std::span(pool).first(length);
}

std::span<const std::uint8_t> Messages::Next() {
  const std::uint64_t a = NextNumber();
  const std::uint64_t b = NextNumber();
  const bool isShort = (a >> 32 & 1) != 0;
  return std::span(pool).subspan(b % (pool.size() - kMaxLength),
                                 a % (isShort ? kMaxShortLength : kMaxLength));
}

// SplitMix64 by S. Vigna.
std::uint64_t Messages::NextNumber() {
  state += 0x9E3779B97F4A7C15;
  std::uint64_t z = state;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
  return z ^ (z >> 31);
}

template <>
std::string KnownDigest<Md5Kind>(const std::string& name, std::uint64_t number) {
  return Find(name, number).md5;
}

template <>
std::string KnownDigest<Sha256Kind>(const std::string& name, std::uint64_t number) {
  return Find(name, number).sha256;
}

std::string UpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
  });
  return text;
}

std::string Narrow(const kx::StringT<wchar_t>& text) {
  std::string narrow;
  for (std::size_t i = 0; i < text.Length(); ++i) {
    narrow += static_cast<char>(text.CStr()[i]);
  }
  return narrow;
}

std::string ContentOfSize(std::size_t size) {
  std::string content(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    content[i] = static_cast<char>(i % 251);
  }
  return content;
}

void WriteFileOfSize(const std::filesystem::path& path, std::size_t size) {
  const std::string content = ContentOfSize(size);
  std::ofstream file(path, std::ios::binary);
  if (!file.write(content.data(), static_cast<std::streamsize>(size)).flush()) {
    std::fprintf(stderr, "cannot write %ls\n", path.c_str());
    std::exit(EXIT_FAILURE);
  }
}

}  // namespace Cifra::Test

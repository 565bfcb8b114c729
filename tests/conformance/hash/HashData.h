#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "Cifra/Cifra.h"

// Input for the hash objects and its digests.
namespace Cifra::Test {

// The hash object classes, for tests that apply to both.
struct Md5Kind {
  using Interface = Cifra::IMd5;
  static constexpr const char* kHashFileName = "Md5ObjectImplementation::HashFile";
};
struct Sha256Kind {
  using Interface = Cifra::ISha256;
  static constexpr const char* kHashFileName = "Sha256ObjectImplementation::HashFile";
};

// Messages generates the messages of tests/data/hash-digests.txt as make-hash-digests.py does.
class Messages {
 public:
  Messages();

  // The first bytes of the pool.
  std::span<const std::uint8_t> Prefix(std::size_t length) const;
  // The next random message.
  std::span<const std::uint8_t> Next();

 private:
  std::uint64_t NextNumber();

  std::uint64_t state = 1;
  std::vector<std::uint8_t> pool;
};

// A digest of hash-digests.txt, in upper-case digits like those of the objects.
template <typename Kind>
std::string KnownDigest(const std::string& name, std::uint64_t number);

std::string UpperCase(std::string text);

// A text of ASCII characters as narrow text.
std::string Narrow(const kx::StringT<wchar_t>& text);

// Ends the object's hash and returns its text.
template <typename Hash>
std::string HashString(Hash& hash) {
  kx::StringT<wchar_t> text;
  hash.GetHashString(text);
  return Narrow(text);
}

// The digest of a message added in one piece.
template <typename Hash>
std::string HashStringOf(Hash& hash, std::span<const std::uint8_t> message) {
  hash.Init();
  hash.Update(message.data(), static_cast<std::uint32_t>(message.size()));
  return HashString(hash);
}

inline std::span<const std::uint8_t> BytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// `size` bytes that repeat only after 251 bytes.
std::string ContentOfSize(std::size_t size);
// Writes a file of them.
void WriteFileOfSize(const std::filesystem::path& path, std::size_t size);

}  // namespace Cifra::Test

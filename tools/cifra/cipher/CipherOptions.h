#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "cipher/Key.h"
#include "program/CifraLibrary.h"
#include "program/TextOptions.h"

namespace client {

// The cipher works on blocks of 8 bytes; zero bytes fill the last one.
inline constexpr std::uint64_t kBlockBytes = 8;
constexpr std::uint64_t PaddedLength(std::uint64_t bytes) {
  return (bytes + kBlockBytes - 1) / kBlockBytes * kBlockBytes;
}

// The most text, in bytes, that is worked on as a whole: the system converts no more at once.
inline constexpr std::uint64_t kMaxTextBytes = std::numeric_limits<std::int32_t>::max();

// A file is enciphered in pieces of this many bytes, a whole number of blocks.
inline constexpr std::size_t kCipherPiece = 4U << 20;

// What encrypt and decrypt have in common.
struct CipherOptions {
  TextOptions text;
  std::string bytesFile;  // the file to work on byte for byte; none: work on text
  std::string output = "-";
  KeyOptions key;

  // Reads the key. Failure kUsage when key and input would both come from standard input.
  Key ReadKeyFor(KeyUse use) const;
};

// KeyedCipher is one of the library's ciphers with the user's key in it.
template <typename Interface>
class KeyedCipher {
 public:
  KeyedCipher(const CipherOptions& options, KeyUse use) : object(library) {
    const Key key = options.ReadKeyFor(use);
    const auto setKey = [&] { return object->SetKey(key.Bytes(), key.Length()); };
    // Of the two ciphers the combined one consists of parts, which the library may fail to find.
    if constexpr (std::is_void_v<decltype(setKey())>) {
      setKey();
    } else if (setKey() == 0) {
      throw library.Unusable(
          "cannot work on text, because it does not find itself again: its path must have fewer "
          "than 260 characters");
    }
  }

  Interface& operator*() const { return *object; }
  Interface* operator->() const { return &*object; }

 private:
  CifraLibrary library;
  CifraObject<Interface> object;
};

// text and bytes describe the argument TEXT and the option --file.
void AddCipherOptions(Command& command, CipherOptions& options, const std::string& text,
                      const std::string& bytes);

}  // namespace client

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Cifra/IBlowfishAndBase64.h"
#include "program/CommandLine.h"

namespace client {

// Key holds the key's bytes and zeroes them on destruction.
class Key {
 public:
  static constexpr std::size_t kMaxBytes = Cifra::IBlowfishAndBase64::kMaxKeyBytes;

  // source names the place the bytes came from. Failure kBadKey unless there are 1 to kMaxBytes.
  Key(const std::uint8_t* data, std::size_t size, const std::string& source);
  ~Key();
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  const std::uint8_t* Bytes() const { return bytes; }
  std::uint8_t Length() const { return static_cast<std::uint8_t>(length); }

 private:
  std::uint8_t bytes[kMaxBytes]{};
  std::size_t length = 0;
};

struct KeyOptions {
  std::string file;
  std::string variable;

  bool ReadsStandardInput() const { return file == "-"; }
};

void AddKeyOptions(Command& command, KeyOptions& options);

enum class KeyUse { kEncrypt, kDecrypt };

// Reads the key from the place that the options name. Without one the user is asked on the console,
// twice for encryption, and what is typed is not shown.
Key ReadKey(const KeyOptions& options, KeyUse use);

}  // namespace client

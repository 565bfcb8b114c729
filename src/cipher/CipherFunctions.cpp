#include <array>
#include <cstring>

#include "Cifra/Functions.h"
#include "Cifra/IBlowfishAndBase64.h"
#include "foundation/BoundedCopy.h"
#include "foundation/Wiped.h"
#include "foundation/string/Utf8.h"
#include "framework/ExportedObject.h"

namespace {

constexpr std::uint32_t kResultSize = 1024;  // characters, terminator included

using TextOperation = std::uint32_t (Cifra::IBlowfishAndBase64::*)(const wchar_t*, wchar_t*,
                                                                   std::uint32_t);

// Copies text to the caller's buffer. A buffer that lacks only the byte for the terminator passes
// the test, and the copy then ends the process: see Functions.h.
std::uint32_t CopyResult(const kx::StringT<char>& text, char* destination, std::int32_t size) {
  if (size < static_cast<std::int64_t>(text.Length())) {
    return kCifraInsufficientBuffer;
  }
  if (!destination) {
    return kCifraInvalidParameter;
  }
  kx::CopyBounded(destination, static_cast<std::size_t>(size), text.CStr());
  return kCifraSuccess;
}

std::uint32_t RunWithKey(TextOperation operation, const char* text, const char* key,
                         char* destination, std::int32_t destinationSize) {
  const std::size_t keyLength = key ? std::strlen(key) : 0;
  if (keyLength == 0 || keyLength > Cifra::IBlowfishAndBase64::kMaxKeyBytes) {
    return kCifraInvalidParameter;
  }
  const Cifra::CifraExportedObject<Cifra::IBlowfishAndBase64> cipher(
      Cifra::kBlowfishAndBase64ObjectId);
  if (!cipher.iface || !cipher.iface->SetKey(reinterpret_cast<const std::uint8_t*>(key),
                                             static_cast<std::uint32_t>(keyLength))) {
    return kCifraNotFound;
  }
  // Either the text or the result is plaintext.
  const kx::Wiped<kx::StringT<char>> given(text);
  const kx::Wiped<kx::StringT<wchar_t>> wide(kx::FromUtf8(given));
  kx::Wiped<std::array<wchar_t, kResultSize>> buffer;
  // The operation's result is deliberately ignored: see Functions.h.
  (cipher.iface->*operation)(wide.CStr(), buffer.data(), kResultSize);
  const kx::Wiped<kx::StringT<wchar_t>> result(buffer.data());
  const kx::Wiped<kx::StringT<char>> utf8(kx::ToUtf8(result));
  return CopyResult(utf8, destination, destinationSize);
}

}  // namespace

uint32_t BlowfishAndBase64Encode(const char* text, const char* key, char* destination,
                                 int32_t destinationSize) {
  return RunWithKey(&Cifra::IBlowfishAndBase64::EncodeText, text, key, destination,
                    destinationSize);
}

uint32_t Base64AndBlowfishDecode(const char* text, const char* key, char* destination,
                                 int32_t destinationSize) {
  return RunWithKey(&Cifra::IBlowfishAndBase64::DecodeText, text, key, destination,
                    destinationSize);
}

#include "cipher/BlowfishAndBase64ObjectImplementation.h"

#include <cstring>

#include "foundation/BoundedCopy.h"
#include "foundation/Wipe.h"
#include "foundation/Wiped.h"
#include "foundation/string/Utf8.h"
#include "framework/QueryInterfaceOf.h"

namespace {

constexpr std::uint32_t kFailure = 0;
constexpr std::uint32_t kDone = 1;

}  // namespace

BlowfishAndBase64ObjectImplementation::BlowfishAndBase64ObjectImplementation()
    : blowfish(Cifra::kBlowfishObjectId), base64(Cifra::kBase64ObjectId) {}

BlowfishAndBase64ObjectImplementation::~BlowfishAndBase64ObjectImplementation() {
  kx::Wipe(key, sizeof(key));
}

void* BlowfishAndBase64ObjectImplementation::QueryInterface(const InterfaceId& iid) {
  return QueryInterfaceOf<Cifra::IBlowfishAndBase64>(this, iid);
}

std::uint32_t BlowfishAndBase64ObjectImplementation::SetKey(const std::uint8_t* newKey,
                                                            std::uint32_t newKeyLength) {
  if (newKeyLength > kMaxKeyBytes || !HasParts()) {
    return kFailure;
  }
  if (newKeyLength != 0) {
    kx::FatalUnless(newKey != nullptr);
    std::memcpy(key, newKey, newKeyLength);
  }
  keyLength = newKeyLength;
  blowfish.iface->SetKey(key, static_cast<std::int32_t>(keyLength));
  return kDone;
}

std::uint32_t BlowfishAndBase64ObjectImplementation::EncodeText(const wchar_t* text,
                                                                wchar_t* destination,
                                                                std::uint32_t destinationSize) {
  if (!destination) {
    return kFailure;
  }
  if (!text || !*text) {
    *destination = 0;
    return kDone;
  }
  if (!HasParts()) {
    return kFailure;
  }
  const kx::Wiped<kx::StringT<wchar_t>> wide(text);
  const kx::Wiped<kx::StringT<char>> plain(kx::ToUtf8(wide));
  std::vector<std::uint8_t> encrypted;
  blowfish.iface->Encrypt(reinterpret_cast<const std::uint8_t*>(plain.CStr()), plain.Length(),
                          encrypted);
  std::string encoded;
  base64.iface->Encode(encrypted, encoded, true);
  kx::CopyBounded(destination, destinationSize, kx::FromUtf8(encoded.c_str()).CStr());
  return kDone;
}

bool BlowfishAndBase64ObjectImplementation::Decipher(const std::string& text,
                                                     std::vector<std::uint8_t>& plain) {
  std::vector<std::uint8_t> encrypted;
  if (base64.iface->Decode(text, encrypted) != kCifraSuccess || encrypted.empty()) {
    return false;
  }
  plain.reserve(encrypted.size() + 1);  // so that DecodeText can add a terminator in place
  blowfish.iface->Decrypt(encrypted.data(), encrypted.size(), plain);
  return true;
}

std::uint32_t BlowfishAndBase64ObjectImplementation::DecodeToBytes(const char* text,
                                                                   std::uint64_t length,
                                                                   std::string& output) {
  if (!HasParts()) {
    return kFailure;
  }
  kx::Wiped<std::vector<std::uint8_t>> plain;
  if (!Decipher(std::string(text, length), plain)) {
    return kFailure;
  }
  // Not by iterators: some libraries would make an unwiped copy first.
  output.assign(reinterpret_cast<const char*>(plain.data()), plain.size());
  return kDone;
}

std::uint32_t BlowfishAndBase64ObjectImplementation::DecodeText(const wchar_t* text,
                                                                wchar_t* destination,
                                                                std::uint32_t destinationSize) {
  const bool hasDestination = destination && destinationSize != 0;
  if (hasDestination) {
    *destination = 0;
  }
  if (!text || !*text) {
    return kDone;
  }
  kx::Wiped<std::vector<std::uint8_t>> plain;
  if (!hasDestination || !HasParts() || !Decipher(kx::ToUtf8(text).CStr(), plain)) {
    return kFailure;
  }
  plain.push_back(0);
  const kx::Wiped<kx::StringT<char>> utf8(reinterpret_cast<const char*>(plain.data()));
  const kx::Wiped<kx::StringT<wchar_t>> result(kx::FromUtf8(utf8));
  wcsncpy_s(destination, destinationSize, result.CStr(), _TRUNCATE);
  destination[destinationSize - 1] = 0;
  return kDone;
}

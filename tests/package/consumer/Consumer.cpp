#include <Cifra/Cifra.h>

#include <cstdio>
#include <cstring>

namespace {

bool ShowsText() {
  char encoded[64];
  char decoded[64];
  return BlowfishAndBase64Encode("text", "key", encoded, sizeof(encoded)) == kCifraSuccess &&
         Base64AndBlowfishDecode(encoded, "key", decoded, sizeof(decoded)) == kCifraSuccess &&
         std::strcmp(decoded, "text") == 0;
}

bool ShowsDigest() {
  void* object = nullptr;
  if (KxCreateObject(Cifra::kMd5ObjectId, &IKxBaseInterface::kInterfaceId, &object) !=
      kCifraSuccess) {
    return false;
  }
  auto* base = static_cast<IKxBaseInterface*>(object);
  auto* md5 = static_cast<Cifra::IMd5*>(base->QueryInterface(Cifra::IMd5::kInterfaceId));
  kx::StringT<wchar_t> digest;
  md5->GetHashString(digest);
  KxDestroyObject(Cifra::kMd5ObjectId, base);
  return std::wcscmp(digest.CStr(), L"D41D8CD98F00B204E9800998ECF8427E") == 0;
}

bool ShowsSignatures() {
  void* object = nullptr;
  if (KxCreateObject(Cifra::kDigitalSignatureObjectId, &IKxBaseInterface::kInterfaceId, &object) !=
      kCifraSuccess) {
    return false;
  }
  auto* base = static_cast<IKxBaseInterface*>(object);
  auto* verifier = static_cast<Cifra::IDigitalSignature*>(
      base->QueryInterface(Cifra::IDigitalSignature::kInterfaceId));
  const std::uint32_t result = verifier->VerifyFile(L"no such file", false);
  KxDestroyObject(Cifra::kDigitalSignatureObjectId, base);
  constexpr std::uint32_t kFileNotFound = 2;
  return result == kFileNotFound;
}

}  // namespace

int main() {
  const bool passed = ShowsText() && ShowsDigest() && ShowsSignatures();
  std::puts(passed ? "the package works" : "the package does not work");
  return passed ? 0 : 1;
}

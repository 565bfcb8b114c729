#include "hash/Sha256ObjectImplementation.h"

#include "Cifra/ObjectIds.h"
#include "framework/QueryInterfaceOf.h"
#include "hash/HashObject.h"

Sha256ObjectImplementation::Sha256ObjectImplementation() {
  log.Acquire();
  Init();  // operations that follow report a failure
}

void* Sha256ObjectImplementation::QueryInterface(const InterfaceId& iid) {
  return QueryInterfaceOf<Cifra::ISha256>(this, iid);
}

std::int32_t Sha256ObjectImplementation::Init() {
  if (open) {
    hash.reset();
    algorithm.reset();
    open = false;
  }
  BCRYPT_ALG_HANDLE newAlgorithm = nullptr;
  BCryptOpenAlgorithmProvider(&newAlgorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0);
  algorithm.reset(newAlgorithm);

  BCRYPT_HASH_HANDLE newHash = nullptr;
  const NTSTATUS status = BCryptCreateHash(newAlgorithm, &newHash, nullptr, 0, nullptr, 0, 0);
  hash.reset(newHash);
  open = true;
  return status;
}

std::int32_t Sha256ObjectImplementation::Update(const std::uint8_t* bytes, std::uint32_t length) {
  return BCryptHashData(hash.get(), const_cast<PUCHAR>(bytes), length, 0);
}

void Sha256ObjectImplementation::GetHashString(kx::StringT<wchar_t>& output) {
  WriteHashString<Cifra::ISha256>(*this, output);
}

std::int32_t Sha256ObjectImplementation::Final(std::uint8_t (&digest)[kDigestBytes]) {
  return BCryptFinishHash(hash.get(), digest, kDigestBytes, 0);
}

std::uint32_t Sha256ObjectImplementation::HashFile(const wchar_t* path,
                                                   kx::StringT<wchar_t>& output) {
  return HashFileContent<Cifra::ISha256>(Cifra::kSha256ObjectId,
                                         L"Sha256ObjectImplementation::HashFile", path, output);
}

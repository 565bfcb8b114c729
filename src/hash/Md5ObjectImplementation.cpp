#include "hash/Md5ObjectImplementation.h"

#include "Cifra/ObjectIds.h"
#include "foundation/Wipe.h"
#include "framework/QueryInterfaceOf.h"
#include "hash/HashObject.h"

static_assert(Cifra::IMd5::kDigestBytes == kMd5DigestBytes);

Md5ObjectImplementation::Md5ObjectImplementation() {
  log.Acquire();
  Md5Init(context);
}

// A hash that was not ended holds the last bytes of its input.
Md5ObjectImplementation::~Md5ObjectImplementation() { kx::Wipe(&context, sizeof(context)); }

void* Md5ObjectImplementation::QueryInterface(const InterfaceId& iid) {
  return QueryInterfaceOf<Cifra::IMd5>(this, iid);
}

void Md5ObjectImplementation::Init() { Md5Init(context); }

void Md5ObjectImplementation::Update(const std::uint8_t* bytes, std::uint32_t length) {
  Md5Update(context, bytes, length);
}

void Md5ObjectImplementation::GetHashString(kx::StringT<wchar_t>& output) {
  WriteHashString<Cifra::IMd5>(*this, output);
}

void Md5ObjectImplementation::Final(std::uint8_t (&digest)[kDigestBytes]) {
  Md5Final(context, digest);
}

std::uint32_t Md5ObjectImplementation::HashFile(const wchar_t* path, kx::StringT<wchar_t>& output) {
  return HashFileContent<Cifra::IMd5>(Cifra::kMd5ObjectId, L"Md5ObjectImplementation::HashFile",
                                      path, output);
}

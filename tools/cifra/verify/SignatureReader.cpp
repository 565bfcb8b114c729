#include "verify/SignatureReader.h"

#include <algorithm>

#include "Cifra/IDigitalSignature.h"
#include "program/CifraLibrary.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

// Notes the result of each signature and, by its position, whether a chain was handed out for it.
class Observer final : public Cifra::ISignatureObserver {
 public:
  struct Seen {
    std::int32_t result = 0;
    bool hasChain = false;
  };

  void OnVerifyResult(std::int32_t result) override { seen.push_back({result, false}); }
  void OnCertificate(const _CERT_CONTEXT*) override {}
  void OnSignatureDone() override { seen.back().hasChain = true; }

  std::vector<Seen> seen;
};

template <typename T>
std::vector<const T*> Elements(const kx::List<T>& list) {
  std::vector<const T*> elements;
  const kx::EnumPtr<kx::IConstListEnum<T>> at(list.CreateConstEnum());
  for (; at->IsValid(); at->Next()) {
    elements.push_back(at->Current());
  }
  return elements;
}

std::string Utf8(const kx::StringT<wchar_t>& text) { return ToUtf8({text.CStr(), text.Length()}); }

// The library leaves quotes inside a value doubled, as the platform writes them into a name.
std::string WithSingleQuotes(std::string value) {
  for (std::size_t at = value.find("\"\""); at != value.npos; at = value.find("\"\"", at + 1)) {
    value.erase(at, 1);
  }
  return value;
}

Name NameFrom(const Cifra::SignatureInfo::Name& map) {
  using Values = kx::List<kx::StringT<wchar_t>>;
  Name name;
  const kx::EnumPtr<kx::IConstEnum<kx::StringT<wchar_t>, Values>> at(map.CreateConstEnum());
  for (; at->IsValid(); at->Next()) {
    std::vector<std::string> values;
    for (const kx::StringT<wchar_t>* value : Elements(*at->Value())) {
      values.push_back(WithSingleQuotes(Utf8(*value)));
    }
    name.emplace_back(Utf8(*at->Key()), std::move(values));
  }
  std::ranges::sort(name, {}, [](const auto& attribute) {
    return std::pair(attribute.first != "CN", attribute.first);
  });
  return name;
}

std::optional<Signer> SignerFrom(const Cifra::Chain& chain) {
  const std::vector<const Cifra::Certificate*> certificates = Elements(chain.certificates);
  if (certificates.empty()) {
    return std::nullopt;
  }
  const Cifra::Certificate& certificate = *certificates.front();
  return Signer{NameFrom(certificate.subject), NameFrom(certificate.issuer),
                Utf8(certificate.serial)};
}

}  // namespace

std::string Signature::Position() const {
  return index == 0 ? "primary" : "secondary " + std::to_string(index);
}

std::vector<Signature> ReadSignatures(const CifraLibrary& library, const ListedFile& file,
                                      bool isOnline) {
  const std::wstring path = file.Path();
  if (IsFolder(path)) {
    throw Failure(ExitCode::kCannotRead, ToUtf8(file.name) + ": is a directory");
  }
  Observer observer;
  kx::List<Cifra::Chain> chains;
  const CifraObject<Cifra::IDigitalSignature> verifier(library, Cifra::kDigitalSignatureObjectId);
  verifier->SetObserver(&observer);
  const DWORD error = verifier->GetDigitalSignature(path.c_str(), chains, isOnline);
  if (error != kCifraSuccess) {
    throw Failure::OfSystem(ExitCode::kCannotRead, ToUtf8(file.name), "cannot open", error);
  }
  std::vector<Signature> signatures;
  const std::vector<const Cifra::Chain*> given = Elements(chains);
  auto chain = given.begin();
  for (const Observer::Seen& seen : observer.seen) {
    Signature signature{signatures.size(), ExplainTrustResult(seen.result), std::nullopt, 0};
    if (seen.hasChain && chain != given.end()) {
      signature.signer = SignerFrom(**chain);
      signature.timestamp = (*chain)->timestamp;
      ++chain;
    }
    signatures.push_back(std::move(signature));
  }
  if (signatures.empty()) {
    throw Failure(ExitCode::kInternal, ToUtf8(file.name) + ": the library verified nothing");
  }
  return signatures;
}

}  // namespace client

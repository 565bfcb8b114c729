#include "verify/SignatureReader.h"

#include <algorithm>
#include <iterator>

#include "Cifra/IDigitalSignature.h"
#include "program/CifraLibrary.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

// Notes the result of each signature, its certificate and, by its position, whether a chain was
// handed out for it.
class Observer final : public Cifra::ISignatureObserver {
 public:
  struct Seen {
    std::int32_t result = 0;
    bool hasChain = false;
    std::vector<std::uint8_t> certificate;  // encoded
  };

  void OnVerifyResult(std::int32_t result) override { seen.push_back({result, false, {}}); }
  // The certificate is the platform's, and gone after this call.
  void OnCertificate(const CERT_CONTEXT* certificate) override {
    const std::span encoded(certificate->pbCertEncoded, certificate->cbCertEncoded);
    seen.back().certificate.assign(encoded.begin(), encoded.end());
  }
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

std::vector<Observer::Seen> Verify(const CifraLibrary& library, const ListedFile& file,
                                   bool isOnline, kx::List<Cifra::Chain>& chains) {
  Observer observer;
  const CifraObject<Cifra::IDigitalSignature> verifier(library);
  verifier->SetObserver(&observer);
  const DWORD error = verifier->GetDigitalSignature(file.Path().c_str(), chains, isOnline);
  if (error != kCifraSuccess) {
    throw Failure::OfSystem(ExitCode::kCannotRead, ToUtf8(file.name), "cannot open", error);
  }
  if (observer.seen.empty()) {
    throw Failure(ExitCode::kInternal, ToUtf8(file.name) + ": the library verified nothing");
  }
  return std::move(observer.seen);
}

// A message of another signer than the verified one is not this signature's.
bool IsAnothers(const std::optional<MessageFacts>& message,
                const std::optional<CertificateFacts>& certificate) {
  return message && certificate && message->signer &&
         message->signer->sha256 != certificate->sha256;
}

// False when the message is another signature's.
bool AddFindings(Signature& signature, const Observer::Seen& seen, const SignedMessage* message,
                 bool wantsChain) {
  signature.certificate = ReadCertificate(seen.certificate);
  signature.message = message ? message->Facts() : std::nullopt;
  const bool isAnothers = IsAnothers(signature.message, signature.certificate);
  if (isAnothers) {
    signature.message.reset();
    message = nullptr;
  }
  if (wantsChain && signature.certificate) {
    signature.chain = BuildChain(seen.certificate, message ? message->Certificates() : nullptr,
                                 signature.timestamp);
  }
  return !isAnothers;
}

// A signature that the platform took for none, did not come to, or verified another in place of.
void AddOther(std::size_t index, const SignedMessage& message, FileSignatures& found) {
  Signature signature;
  signature.index = index;
  signature.message = message.Facts();
  found.others.push_back(std::move(signature));
}

}  // namespace

std::string Signature::Position() const {
  return index == 0 ? "primary" : "secondary " + std::to_string(index);
}

FileSignatures ReadSignatures(const CifraLibrary& library, const ListedFile& file,
                              const ReadingOptions& options) {
  if (IsFolder(file.Path())) {
    throw Failure(ExitCode::kCannotRead,
                  ToUtf8(file.name) + ": is a directory; -r takes the files below it");
  }
  kx::List<Cifra::Chain> chains;
  const std::vector<Observer::Seen> verified = Verify(library, file, options.isOnline, chains);
  const std::vector<SignedMessage> messages = ReadMessages(file);
  FileSignatures found;
  found.foundByClient = messages.size();
  const std::vector<const Cifra::Chain*> given = Elements(chains);
  auto chain = given.begin();
  for (const Observer::Seen& seen : verified) {
    const std::size_t index = found.verified.size();
    Signature signature;
    signature.index = index;
    signature.result = ExplainTrustResult(seen.result);
    if (seen.hasChain && chain != given.end()) {
      signature.signer = SignerFrom(**chain);
      signature.timestamp = (*chain)->timestamp;
      ++chain;
    }
    const SignedMessage* const message = index < messages.size() ? &messages[index] : nullptr;
    const bool isItsOwn = AddFindings(signature, seen, message, options.wantsChain);
    if (message && (!isItsOwn || signature.result.verdict == Verdict::kUnsigned)) {
      AddOther(index, *message, found);
    }
    found.verified.push_back(std::move(signature));
  }
  for (std::size_t i = found.verified.size(); i < messages.size(); ++i) {
    AddOther(i, messages[i], found);
  }
  return found;
}

}  // namespace client

// Shows the verdict on each signature of a file as it is reached:  VerifyFile FILE
#include <Cifra/Cifra.h>
#include <Cifra/Library.h>

#include <cstdio>

namespace {

class Reporter final : public Cifra::ISignatureObserver {
 public:
  void OnVerifyResult(std::int32_t result) override {
    std::printf("WinVerifyTrust: 0x%08X\n", static_cast<unsigned>(result));
    allTrusted = allTrusted && result == 0;
  }
  void OnCertificate(const _CERT_CONTEXT*) override { std::printf("  has a certificate\n"); }
  void OnSignatureDone() override {}

  bool allTrusted = true;
};

void PrintName(const char* label, Cifra::SignatureInfo::Name& name) {
  const kx::EnumPtr<kx::IEnum<kx::StringT<wchar_t>, kx::List<kx::StringT<wchar_t>>>> attribute(
      name.CreateEnum());
  for (; attribute->IsValid(); attribute->Next()) {
    std::printf("  %s %ls=%ls\n", label, attribute->Key()->CStr(),
                attribute->Value()->GetHead()->CStr());
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: VerifyFile FILE\n");
    return 2;
  }
  const Cifra::Library library = Cifra::Library::BesideProgram();
  const Cifra::Object<Cifra::IDigitalSignature> verifier(library);
  if (!verifier) {
    std::fprintf(stderr, "no Cifra.dll: error %lu\n", library.Error());
    return 1;
  }

  Reporter reporter;
  verifier->SetObserver(&reporter);
  kx::List<Cifra::Chain> chains;
  const bool online = false;  // revocation data from the platform's cache only
  if (const auto error = verifier->GetDigitalSignature(arguments[1], chains, online)) {
    std::fprintf(stderr, "cannot open the file: error %u\n", static_cast<unsigned>(error));
    return 1;
  }
  const kx::EnumPtr<kx::IListEnum<Cifra::Chain>> chain(chains.CreateEnum());
  for (; chain->IsValid(); chain->Next()) {
    if (Cifra::Certificate* signer = chain->Current()->certificates.GetHead()) {
      std::printf("signer with the serial number %ls\n", signer->serial.CStr());
      PrintName("subject", signer->subject);
      PrintName("issuer", signer->issuer);
    }
  }
  std::printf(reporter.allTrusted ? "trusted\n" : "not trusted\n");
  return reporter.allTrusted ? 0 : 1;
}

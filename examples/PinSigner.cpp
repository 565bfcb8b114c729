// Accepts a file only with a trusted signature of one certain certificate:
//   PinSigner FILE ISSUER SERIAL
// where ISSUER is the common name of the certificate's issuer and SERIAL its serial number in
// lower-case hexadecimal digits. A subject's name alone proves little: anyone may have a
// certificate with the same one made elsewhere.
#include <Cifra/Cifra.h>
#include <Cifra/Library.h>

#include <cstdio>
#include <cwchar>
#include <vector>

namespace {

bool IsIssuedAs(Cifra::Certificate& certificate, const wchar_t* issuer, const wchar_t* serial) {
  kx::List<kx::StringT<wchar_t>>* names = certificate.issuer.Find(L"CN");
  return names && std::wcscmp(names->GetHead()->CStr(), issuer) == 0 &&
         std::wcscmp(certificate.serial.CStr(), serial) == 0;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 4) {
    std::fprintf(stderr, "usage: PinSigner FILE ISSUER SERIAL\n");
    return 2;
  }
  const Cifra::Library library = Cifra::Library::BesideProgram();
  // A fresh object for each file: the trusted chains add up over all files that it has seen.
  const Cifra::Object<Cifra::IDigitalSignature> verifier(library);
  if (!verifier) {
    std::fprintf(stderr, "no Cifra.dll: error %lu\n", library.Error());
    return 1;
  }
  if (const auto error = verifier->VerifyFile(arguments[1], false)) {
    std::fprintf(stderr, "cannot open the file: error %u\n", static_cast<unsigned>(error));
    return 1;
  }
  std::vector<Cifra::Chain> trusted;
  verifier->GetTrustedChains(trusted);
  for (Cifra::Chain& chain : trusted) {
    Cifra::Certificate* signer = chain.certificates.GetHead();
    if (signer && IsIssuedAs(*signer, arguments[2], arguments[3])) {
      std::printf("accepted\n");
      return 0;
    }
  }
  std::printf("refused: %u trusted signatures, none of this certificate\n",
              static_cast<unsigned>(trusted.size()));
  return 1;
}

#include "signature/DigitalSignatureObjectImplementation.h"

#include "Cifra/ResultCodes.h"
#include "foundation/logging/CTraceScope.h"

namespace Cifra {
namespace {

using enum logging::LogLevel;

constexpr std::size_t kPathRoom = 64;  // characters

constexpr wchar_t kGetDigitalSignature[] =
    L"Cifra::DigitalSignatureObjectImplementation::GetDigitalSignature";
constexpr wchar_t kOpenFileHandle[] =
    L"Cifra::DigitalSignatureObjectImplementation::OpenFileHandle";
constexpr wchar_t kEnumCertificates[] =
    L"Cifra::DigitalSignatureObjectImplementation::EnumCertificates";
constexpr wchar_t kGetCertificate[] =
    L"Cifra::DigitalSignatureObjectImplementation::GetCertificate";

// The platform's verdict on the request's current signature.
LONG Verify(TrustRequest& request, TrustState& state, const bool& onlineCheck) {
  // Tells the service that no user is there. On purpose at the retry only: all other calls pass
  // null.
  const HWND noUser = static_cast<HWND>(INVALID_HANDLE_VALUE);
  const LONG result = state.Verify(nullptr);
  if (result == ERROR_SUCCESS || !onlineCheck) {
    return result;
  }
  logging::Log(kFailure, kEnumCertificates, L"WinVerifyTrust failed with error 0x%.8X\n", result);
  state.Close(noUser);
  logging::Log(kRetry, kEnumCertificates, L"WinVerifyTrust try again online check");
  // On purpose not set back: the file's further signatures go online at their first attempt, which
  // a caller with an onlineCheck must be prepared to wait for.
  request.data.dwProvFlags = 0;
  const LONG onlineResult = state.Verify(noUser);
  if (onlineResult != ERROR_SUCCESS) {
    logging::Log(kFailure, kEnumCertificates, L"WinVerifyTrust failed online with error 0x%.8X\n",
                 onlineResult);
  }
  return onlineResult;
}

}  // namespace

DigitalSignatureObjectImplementation::DigitalSignatureObjectImplementation() {
  log.Acquire();
  kx::FatalUnless(filePath.Reserve(kPathRoom));
}

std::uint32_t DigitalSignatureObjectImplementation::VerifyFile(const String& path,
                                                               bool onlineCheck) {
  kx::List<Chain> chains;
  return GetDigitalSignature(path, chains, onlineCheck);
}

bool DigitalSignatureObjectImplementation::IsSigned(const String& path, const bool& onlineCheck) {
  kx::List<Chain> chains;
  // On purpose answered from all files that the object has seen: once one had a trusted signature,
  // every file that can be opened counts as signed. A caller takes a fresh object for each file.
  return GetDigitalSignature(path, chains, onlineCheck) == kCifraSuccess && !trustedChains.empty();
}

void DigitalSignatureObjectImplementation::GetTrustedChains(std::vector<Chain>& chains) {
  chains = trustedChains;
}

void DigitalSignatureObjectImplementation::SetObserver(ISignatureObserver* newObserver) {
  observer = newObserver;
}

std::uint32_t DigitalSignatureObjectImplementation::GetDigitalSignature(const String& path,
                                                                        kx::IList<Chain>& chains,
                                                                        const bool& onlineCheck) {
  const logging::CTraceScope trace(kGetDigitalSignature);
  struct FileForgetter {
    DigitalSignatureObjectImplementation& object;
    ~FileForgetter() {
      object.filePath.ReleaseBuffer(0);
      object.file.reset();
    }
  };
  const FileForgetter forgetter{*this};
  filePath = path;
  const DWORD error = OpenFileHandle();
  if (error != ERROR_SUCCESS) {
    return error;
  }
  EnumCertificates(chains, onlineCheck);
  return kCifraSuccess;
}

DWORD DigitalSignatureObjectImplementation::OpenFileHandle() {
  const logging::CTraceScope trace(kOpenFileHandle);
  file.reset();
  file = kx::OpenForReading(filePath.CStr(), FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            FILE_ATTRIBUTE_NORMAL);
  if (!file) {
    const DWORD error = GetLastError();
    logging::Log(kFailure, kOpenFileHandle, L"Failed to open file with error %d.", error);
    return error;
  }
  return ERROR_SUCCESS;
}

void DigitalSignatureObjectImplementation::EnumCertificates(kx::IList<Chain>& chains,
                                                            const bool& onlineCheck) {
  const logging::CTraceScope trace(kEnumCertificates);
  TrustRequest request(filePath.CStr(), file.get());
  do {
    HandleSignature(request, chains, onlineCheck);
  } while (request.Advance());
}

void DigitalSignatureObjectImplementation::HandleSignature(TrustRequest& request,
                                                           kx::IList<Chain>& chains,
                                                           const bool& onlineCheck) {
  TrustState state(request);
  const LONG result = Verify(request, state, onlineCheck);
  if (observer) {
    observer->OnVerifyResult(result);
  }

  // Where the provider's data or the signer is missing, the state is left open on purpose: a caller
  // that verifies many such files, unsigned ones above all, sees the process grow. The handle of
  // the open state stays in the request, and the verification of the next signature starts with it.
  CRYPT_PROVIDER_DATA* provider = WTHelperProvDataFromStateData(request.data.hWVTStateData);
  if (!provider) {
    logging::Log(kFailure, kEnumCertificates,
                 L"Failed to get crypt provider data. Index %d from %d certificates.",
                 request.settings.dwIndex, request.settings.cSecondarySigs);
    state.LeaveOpen();
    return;
  }
  CRYPT_PROVIDER_SGNR* signer = WTHelperGetProvSignerFromChain(provider, 0, FALSE, 0);
  if (!signer) {
    logging::Log(kFailure, kEnumCertificates,
                 L"Failed to get crypt provider signer. Index %d from %d certificates.",
                 request.settings.dwIndex, request.settings.cSecondarySigs);
    state.LeaveOpen();
    return;
  }

  Chain chain;
  if (GetCertificate(*signer, chain)) {
    chain.timestamp = GetTimestamp(*provider, *signer);
  }
  if (result == ERROR_SUCCESS) {
    trustedChains.push_back(chain);  // on purpose never emptied, see IsSigned
  }
  chains.AddTail(chain);
  state.Close(nullptr);
  if (observer) {
    observer->OnSignatureDone();
  }
}

bool DigitalSignatureObjectImplementation::GetCertificate(CRYPT_PROVIDER_SGNR& signer,
                                                          Chain& chain) {
  const logging::CTraceScope trace(kGetCertificate);
  const CRYPT_PROVIDER_CERT* found = WTHelperGetProvCertFromChain(&signer, 0);
  if (!found) {
    logging::Log(kFailure, kGetCertificate, L"Failed to get provider certificate.");
    return false;
  }
  if (observer) {
    observer->OnCertificate(found->pCert);
  }
  const CERT_INFO& info = *found->pCert->pCertInfo;
  const String issuer = GetIssuer(info);
  const String subject = GetSubject(info);
  const String serial = GetSerial(info);

  Certificate certificate;
  certificate.issuer = SplitName(issuer);
  certificate.subject = SplitName(subject);
  if (certificate.serial.Assign(serial.CStr(), serial.Length())) {
    chain.certificates.AddTail(certificate);
  }
  return true;
}

}  // namespace Cifra

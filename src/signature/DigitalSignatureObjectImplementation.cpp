#include "signature/DigitalSignatureObjectImplementation.h"

#include "Cifra/ResultCodes.h"
#include "foundation/logging/CTraceScope.h"
#include "signature/CertificateText.h"
#include "signature/SignatureTime.h"

namespace Cifra {
namespace {

using enum logging::LogLevel;

constexpr std::size_t kPathCapacity = 64;  // characters

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
  // Tells the service that there is no user to ask. Only the retry says so: all other calls pass
  // null.
  const HWND noUser = static_cast<HWND>(INVALID_HANDLE_VALUE);
  const LONG result = state.Verify(nullptr);
  if (result == ERROR_SUCCESS || !onlineCheck) {
    return result;
  }
  logging::Log(kFailure, kEnumCertificates, L"WinVerifyTrust failed with error 0x%.8X\n", result);
  state.Close(noUser);
  logging::Log(kRetry, kEnumCertificates, L"WinVerifyTrust try again online check");
  // Stays in force for the file's further signatures: callers depend on their going online at the
  // first attempt.
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
  kx::FatalUnless(filePath.Reserve(kPathCapacity));
}

std::uint32_t DigitalSignatureObjectImplementation::VerifyFile(const String& path,
                                                               bool onlineCheck) {
  kx::List<Chain> chains;
  return GetDigitalSignature(path, chains, onlineCheck);
}

bool DigitalSignatureObjectImplementation::IsSigned(const String& path, const bool& onlineCheck) {
  kx::List<Chain> chains;
  // Callers depend on the chains of earlier files being counted: once a file had a trusted
  // signature, every file that can be opened counts as signed.
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
  struct FileGuard {  // closes the file however the verification ends
    DigitalSignatureObjectImplementation& object;
    ~FileGuard() {
      object.filePath.ReleaseBuffer(0);
      object.file.Reset();
    }
  };
  const FileGuard guard{*this};
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
  file.Reset();
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
  TrustRequest request(filePath.CStr(), file.Get());
  do {
    VerifyOneSignature(request, chains, onlineCheck);
  } while (request.Advance());
}

void DigitalSignatureObjectImplementation::VerifyOneSignature(TrustRequest& request,
                                                              kx::IList<Chain>& chains,
                                                              const bool& onlineCheck) {
  TrustState state(request);
  const LONG result = Verify(request, state, onlineCheck);
  if (observer) {
    observer->OnVerifyResult(result);
  }

  // Without provider data or a signer the state is left open, and its handle stays in the request
  // for the next signature to start from: callers depend on this order of calls. A process that
  // verifies many such files, unsigned ones above all, grows with each of them.
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
    chain.timestamp = ReadTimestamp(*provider, *signer);
  }
  if (result == ERROR_SUCCESS) {
    trustedChains.push_back(chain);  // never emptied, see IsSigned
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
  Certificate certificate;
  if (ReadCertificate(*found->pCert->pCertInfo, certificate)) {
    chain.certificates.AddTail(certificate);
  }
  return true;
}

}  // namespace Cifra

#include "TrustScript.h"

#include <wincrypt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace Cifra::Test {

// The service's state of a verification. The library gets pointers into it and passes them back.
struct TrustScript::State {
  const ScriptedSignature* signature;
  CRYPT_PROVIDER_DATA provider{};
  CRYPT_PROVIDER_SGNR signer{};
  std::vector<CRYPT_PROVIDER_SGNR> counterSigners;
  CRYPT_PROVIDER_CERT certificate{};
  CERT_CONTEXT context{};
  CERT_INFO info{};

  explicit State(const ScriptedSignature& scripted) : signature(&scripted) {
    signer.cbStruct = sizeof(signer);
    signer.csCounterSigners = static_cast<DWORD>(scripted.counterSigners.size());
    for (const ScriptedSignature::CounterSigner& counterSigner : scripted.counterSigners) {
      counterSigners.push_back({});
      counterSigners.back().dwSignerType = counterSigner.type;
      counterSigners.back().sftVerifyAsOf = counterSigner.time;
    }
    certificate.cbStruct = sizeof(certificate);
    certificate.pCert = &context;
    context.pCertInfo = &info;
    context.pbCertEncoded = const_cast<BYTE*>(scripted.certificate.data());
    context.cbCertEncoded = static_cast<DWORD>(scripted.certificate.size());
    info.Issuer = Blob(scripted.issuer);
    info.Subject = Blob(scripted.subject);
    info.SerialNumber = Blob(scripted.serial);
  }

  static CRYPT_DATA_BLOB Blob(const std::vector<BYTE>& bytes) {
    return {static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
  }
};

namespace {

TrustScript* script = nullptr;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "the trust service was called wrongly: %s\n", what);
  std::exit(EXIT_FAILURE);
}

std::string WindowName(HWND window) {
  return !window ? "null" : window == INVALID_HANDLE_VALUE ? "none" : "other";
}

bool IsOpenFile(HANDLE file) { return GetFileType(file) == FILE_TYPE_DISK; }

}  // namespace

extern "C" __declspec(dllexport) ITrustPlayer* TrustPlayer() { return script; }

TrustScript::TrustScript() { script = this; }
TrustScript::~TrustScript() { script = nullptr; }

void TrustScript::Play(std::vector<ScriptedSignature> newSignatures) {
  states.clear();
  signatures = std::move(newSignatures);
  attempts.assign(signatures.size(), 0);
  verifyCalls.clear();
  events.clear();
  clearsSettings = false;
  countsOnlyOnSuccess = false;
}

const CERT_CONTEXT* TrustScript::CurrentCertificate() const { return &states.back()->context; }

LONG TrustScript::Verify(HWND window, const GUID* action, void* rawData) {
  beforeCall();
  auto& data = *static_cast<TrustDataRecord*>(rawData);
  TrustSettingsRecord noSettings{};
  TrustSettingsRecord& settings = data.pSignatureSettings ? *data.pSignatureSettings : noSettings;
  verifyCalls.push_back({window, *action, data, *data.pFile, data.pFile->pcwszFilePath,
                         IsOpenFile(data.pFile->hFile), settings});
  std::string place = " ";
  place += std::to_string(settings.dwIndex) + " " + WindowName(window);
  if (data.dwStateAction == WTD_STATEACTION_CLOSE) {
    events.push_back("close" + place);
    std::erase_if(states, [&](const auto& state) { return state.get() == data.hWVTStateData; });
    data.hWVTStateData = nullptr;
    return ERROR_SUCCESS;
  }
  if (data.dwStateAction != WTD_STATEACTION_VERIFY || settings.dwIndex >= signatures.size()) {
    Fail("state action or index");
  }
  events.push_back("verify" + place + (data.dwProvFlags == 0 ? " online" : " cached"));
  const ScriptedSignature& signature = signatures[settings.dwIndex];
  const std::size_t attempt = attempts[settings.dwIndex]++;
  const LONG result = signature.results[std::min(attempt, signature.results.size() - 1)];
  if (result == ERROR_SUCCESS || !countsOnlyOnSuccess) {
    settings.cSecondarySigs = static_cast<DWORD>(signatures.size()) - 1;
    settings.dwVerifiedSigIndex = settings.dwIndex;
  }
  data.hWVTStateData = nullptr;
  if (signature.hasState) {
    states.push_back(std::make_unique<State>(signature));
    data.hWVTStateData = states.back().get();
  }
  if (clearsSettings) {
    data.pSignatureSettings = nullptr;
  }
  return result;
}

CRYPT_PROVIDER_DATA* TrustScript::ProviderData(HANDLE handle) {
  beforeCall();
  events.push_back("provider data");
  if (!handle) {
    return nullptr;
  }
  State* state = Find(handle);
  return state->signature->hasProviderData ? &state->provider : nullptr;
}

CRYPT_PROVIDER_SGNR* TrustScript::Signer(CRYPT_PROVIDER_DATA* provider, DWORD index,
                                         BOOL isCounterSigner, DWORD counterSignerIndex) {
  beforeCall();
  State* state = Find(provider);
  if (index != 0) {
    Fail("signer index");
  }
  if (isCounterSigner) {
    events.push_back("counter-signer " + std::to_string(counterSignerIndex));
    if (counterSignerIndex >= state->counterSigners.size()) {
      Fail("counter-signer index");
    }
    const bool isMissing = state->signature->counterSigners[counterSignerIndex].isMissing;
    return isMissing ? nullptr : &state->counterSigners[counterSignerIndex];
  }
  events.push_back("signer");
  return state->signature->hasSigner && counterSignerIndex == 0 ? &state->signer : nullptr;
}

CRYPT_PROVIDER_CERT* TrustScript::Certificate(CRYPT_PROVIDER_SGNR* signer, DWORD index) {
  beforeCall();
  events.push_back("certificate " + std::to_string(index));
  State* state = Find(signer);
  return state->signature->hasCertificate ? &state->certificate : nullptr;
}

TrustScript::State* TrustScript::Find(const void* part) const {
  for (const auto& state : states) {
    if (part == state.get() || part == &state->provider || part == &state->signer) {
      return state.get();
    }
  }
  Fail("unknown state");
}

std::vector<BYTE> EncodedName(const std::wstring& name) {
  DWORD size = 0;
  CertStrToNameW(X509_ASN_ENCODING, name.c_str(), CERT_X500_NAME_STR, nullptr, nullptr, &size,
                 nullptr);
  std::vector<BYTE> bytes(size);
  if (!CertStrToNameW(X509_ASN_ENCODING, name.c_str(), CERT_X500_NAME_STR, nullptr, bytes.data(),
                      &size, nullptr)) {
    Fail("name of a scripted certificate");
  }
  return bytes;
}

}  // namespace Cifra::Test

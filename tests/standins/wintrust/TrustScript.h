#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TrustPlayer.h"

namespace Cifra::Test {

// A signature in the script.
struct ScriptedSignature {
  struct CounterSigner {
    DWORD type = SGNR_TYPE_TIMESTAMP;
    FILETIME time{};
    bool isMissing = false;  // counted, but not given out
  };

  // The verdicts at the first attempt, the second ...; the last one holds for all further attempts.
  std::vector<LONG> results = {0};
  bool hasState = true;
  bool hasProviderData = true;
  bool hasSigner = true;
  bool hasCertificate = true;
  std::vector<BYTE> issuer;  // encoded names, see EncodedName
  std::vector<BYTE> subject;
  std::vector<BYTE> serial;       // least significant byte first
  std::vector<BYTE> certificate;  // encoded; what it says is not looked at here
  std::vector<CounterSigner> counterSigners;
};

// The records of a call of WinVerifyTrust, laid out as Windows 8 and later have them.
struct TrustSettingsRecord {
  DWORD cbStruct;
  DWORD dwIndex;
  DWORD dwFlags;
  DWORD cSecondarySigs;
  DWORD dwVerifiedSigIndex;
  void* pCryptoPolicy;
};
static_assert(sizeof(TrustSettingsRecord) == 32);

struct TrustDataRecord {
  DWORD cbStruct;
  void* pPolicyCallbackData;
  void* pSIPClientData;
  DWORD dwUIChoice;
  DWORD fdwRevocationChecks;
  DWORD dwUnionChoice;
  const WINTRUST_FILE_INFO* pFile;
  DWORD dwStateAction;
  HANDLE hWVTStateData;
  wchar_t* pwszURLReference;
  DWORD dwProvFlags;
  DWORD dwUIContext;
  TrustSettingsRecord* pSignatureSettings;
};
static_assert(sizeof(TrustDataRecord) == 88);

// One call of WinVerifyTrust with everything it was given.
struct VerifyCall {
  HWND window;
  GUID action;
  TrustDataRecord data;
  WINTRUST_FILE_INFO file;
  std::wstring path;
  bool fileIsOpen;  // the handle is that of an open file
  TrustSettingsRecord settings;
};

// TrustScript presents a file's signatures to the library under test through the stand-in
// wintrust.dll, which must be the one loaded.
class TrustScript : public ITrustPlayer {
 public:
  TrustScript();
  virtual ~TrustScript();

  // Presents these signatures from now on, primary one first; forgets earlier calls.
  void Play(std::vector<ScriptedSignature> newSignatures);
  // Counts the secondary signatures only where the verification succeeds.
  void CountOnlyOnSuccess() { countsOnlyOnSuccess = true; }
  // Takes the settings out of the request when it is verified, as no service should.
  void ClearSettingsAtVerify() { clearsSettings = true; }

  // Runs an action before each call of the service.
  void BeforeEachCall(std::function<void()> action) { beforeCall = std::move(action); }

  const std::vector<VerifyCall>& VerifyCalls() const { return verifyCalls; }
  // All calls and the test's own entries, in order.
  std::vector<std::string>& Events() { return events; }
  // Verified signatures whose state was not closed again.
  std::size_t OpenStates() const { return states.size(); }

  // The context of the current certificate.
  const CERT_CONTEXT* CurrentCertificate() const;

  LONG Verify(HWND window, const GUID* action, void* data) override;
  CRYPT_PROVIDER_DATA* ProviderData(HANDLE state) override;
  CRYPT_PROVIDER_SGNR* Signer(CRYPT_PROVIDER_DATA* provider, DWORD index, BOOL isCounterSigner,
                              DWORD counterSignerIndex) override;
  CRYPT_PROVIDER_CERT* Certificate(CRYPT_PROVIDER_SGNR* signer, DWORD index) override;

 private:
  struct State;

  State* Find(const void* part) const;

  std::vector<ScriptedSignature> signatures;
  std::vector<std::size_t> attempts;
  std::vector<VerifyCall> verifyCalls;
  std::vector<std::string> events;
  std::vector<std::unique_ptr<State>> states;
  bool clearsSettings = false;
  bool countsOnlyOnSuccess = false;
  std::function<void()> beforeCall = [] {};
};

// A distinguished name, such as L"CN=A, O=\"B, C\"", as a certificate holds it.
std::vector<BYTE> EncodedName(const std::wstring& name);

}  // namespace Cifra::Test

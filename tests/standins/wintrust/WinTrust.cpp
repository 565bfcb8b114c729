// A wintrust.dll that has no opinion of its own: the program that loaded it answers every call.
#include "TrustPlayer.h"
#include "foundation/Fatal.h"
#include "foundation/ModuleHandle.h"

namespace {

test::ITrustPlayer& Player() {
  auto* get =
      FindProcedure<test::TrustPlayerFunction>(GetModuleHandleW(nullptr), test::kTrustPlayer);
  test::ITrustPlayer* player = get ? get() : nullptr;
  kx::Require(player != nullptr);
  return *player;
}

}  // namespace

extern "C" {

LONG WINAPI StandInVerifyTrust(HWND window, GUID* action, LPVOID data) {
  return Player().Verify(window, action, data);
}

CRYPT_PROVIDER_DATA* WINAPI StandInProviderData(HANDLE state) {
  return Player().ProviderData(state);
}

CRYPT_PROVIDER_SGNR* WINAPI StandInSigner(CRYPT_PROVIDER_DATA* provider, DWORD index,
                                          BOOL isCounterSigner, DWORD counterSignerIndex) {
  return Player().Signer(provider, index, isCounterSigner, counterSignerIndex);
}

CRYPT_PROVIDER_CERT* WINAPI StandInCertificate(CRYPT_PROVIDER_SGNR* signer, DWORD index) {
  return Player().Certificate(signer, index);
}

}  // extern "C"

// Tells this library from the platform's.
extern "C" void IsStandIn() {}

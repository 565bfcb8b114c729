// The exports of a wintrust.dll; a player implements them.
#include "TrustPlayer.h"

using Cifra::Test::Player;

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

// Marks this library as the stand-in.
void IsStandIn() {}

}  // extern "C"

#include "signature/TrustRequest.h"

namespace Cifra {

TrustRequest::TrustRequest(const wchar_t* path, HANDLE openFile) {
  file.cbStruct = sizeof(file);
  file.pcwszFilePath = path;
  file.hFile = openFile;

  settings.cbStruct = sizeof(settings);
  settings.dwFlags = WSS_VERIFY_SPECIFIC | WSS_GET_SECONDARY_SIG_COUNT;

  data.cbStruct = sizeof(data);
  data.dwUIChoice = WTD_UI_NONE;
  data.fdwRevocationChecks = WTD_REVOKE_WHOLECHAIN;
  data.dwUnionChoice = WTD_CHOICE_FILE;
  data.pFile = &file;
  data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
  data.pSignatureSettings = &settings;
}

bool TrustRequest::Advance() {
  TrustSettings* current = data.pSignatureSettings;
  return current && current->dwIndex++ < current->cSecondarySigs;
}

TrustState::~TrustState() {
  if (isOpen) {
    Close(nullptr);
  }
}

LONG TrustState::Verify(HWND window) {
  isOpen = true;
  return Call(WTD_STATEACTION_VERIFY, window);
}

void TrustState::Close(HWND window) {
  isOpen = false;
  Call(WTD_STATEACTION_CLOSE, window);
}

LONG TrustState::Call(DWORD stateAction, HWND window) {
  GUID policy = WINTRUST_ACTION_GENERIC_VERIFY_V2;
  request.data.dwStateAction = stateAction;
  return WinVerifyTrust(window, &policy, &request.data);
}

}  // namespace Cifra

#pragma once

#include <windows.h>
#include <softpub.h>
#include <wintrust.h>

#include <cstddef>

// The records that select one of a file's signatures; headers older than Windows 8 lack them.
namespace Cifra {

#ifdef WSS_VERIFY_SPECIFIC
using TrustSettings = WINTRUST_SIGNATURE_SETTINGS;
using TrustData = WINTRUST_DATA;
#else
inline constexpr DWORD WSS_VERIFY_SPECIFIC = 1;
inline constexpr DWORD WSS_GET_SECONDARY_SIG_COUNT = 2;

struct TrustSettings {  // WINTRUST_SIGNATURE_SETTINGS
  DWORD cbStruct;
  DWORD dwIndex;
  DWORD dwFlags;
  DWORD cSecondarySigs;
  DWORD dwVerifiedSigIndex;
  void* pCryptoPolicy;
};

struct TrustData : WINTRUST_DATA {
  TrustSettings* pSignatureSettings;
};
#endif
static_assert(sizeof(WINTRUST_FILE_INFO) == 32);
static_assert(sizeof(TrustSettings) == 32);
static_assert(sizeof(TrustData) == 88);

// TrustRequest holds the trust service's input records for one file. The service writes to them
// too. It selects one signature at a time, beginning with the primary one.
struct TrustRequest {
  TrustRequest(const wchar_t* path, HANDLE openFile);
  TrustRequest(const TrustRequest&) = delete;
  TrustRequest& operator=(const TrustRequest&) = delete;

  // Selects the next signature; false after the last one.
  bool Advance();

  WINTRUST_FILE_INFO file{};
  TrustSettings settings{};
  TrustData data{};
};

// TrustState owns the state that the trust service keeps for a verification until it is closed.
class TrustState {
 public:
  explicit TrustState(TrustRequest& trustRequest) : request(trustRequest) {}
  ~TrustState();
  TrustState(const TrustState&) = delete;
  TrustState& operator=(const TrustState&) = delete;

  // Verifies the selected signature; returns the service's verdict, 0 for trusted.
  LONG Verify(HWND window);
  void Close(HWND window);
  // Gives up ownership: the service keeps the state until the process ends.
  void LeaveOpen() { isOpen = false; }

 private:
  LONG Call(DWORD stateAction, HWND window);

  TrustRequest& request;
  bool isOpen = false;
};

}  // namespace Cifra

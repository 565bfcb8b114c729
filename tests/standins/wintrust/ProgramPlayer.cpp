// The player of the wintrust.dll that a test loads is the test itself.
#include "TrustPlayer.h"
#include "foundation/Fatal.h"
#include "foundation/ModuleHandle.h"

Cifra::Test::ITrustPlayer& Cifra::Test::Player() {
  auto* get = kx::FindProcedure<TrustPlayerFunction>(GetModuleHandleW(nullptr), kTrustPlayer);
  ITrustPlayer* player = get ? get() : nullptr;
  kx::FatalUnless(player != nullptr);
  return *player;
}

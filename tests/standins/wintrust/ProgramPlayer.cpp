// The player of the wintrust.dll that a test loads: the test itself.
#include "TrustPlayer.h"
#include "foundation/Fatal.h"
#include "foundation/ModuleHandle.h"

test::ITrustPlayer& test::Player() {
  auto* get = FindProcedure<TrustPlayerFunction>(GetModuleHandleW(nullptr), kTrustPlayer);
  ITrustPlayer* player = get ? get() : nullptr;
  kx::Require(player != nullptr);
  return *player;
}

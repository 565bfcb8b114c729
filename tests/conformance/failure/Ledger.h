#pragma once

#include <string>

namespace Cifra::Test {

// What the library holds of the platform, as its own calls tell: entered when a call hands it out,
// crossed off when a call gives it back. One thread at a time.
enum class Holding { kMemory, kFile, kModule, kAlgorithm, kHash, kLock, kCount };

class Ledger {
 public:
  // Forgets everything.
  static void Clear();
  static void Enter(Holding kind, const void* what);
  // False when it is not there: it was given back twice, or is somebody else's.
  static bool CrossOff(Holding kind, const void* what);

  // A mark, and what is held that was not at the mark or was and is not: "2 blocks of memory", or
  // an empty text.
  struct Mark {
    int counts[static_cast<int>(Holding::kCount)];
  };
  static Mark Now();
  static std::string Difference(const Mark& before);

  // Handles that were given back without being held, since Clear.
  static int ForeignReleases();
};

}  // namespace Cifra::Test

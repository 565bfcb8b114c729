#pragma once

#include <optional>
#include <string>

#include "Cifra/IMd5.h"
#include "Cifra/ISha256.h"
#include "hash/Algorithm.h"
#include "program/CifraLibrary.h"
#include "system/ReadAhead.h"

namespace client {

class Input;
class Progress;

// Hasher makes digests with the library's objects, which it creates when they are needed. It is for
// one thread.
class Hasher {
 public:
  Hasher(const CifraLibrary& owner, Progress& shown) : library(owner), progress(shown) {}

  // The digest of all that is left of the input, in lower-case hexadecimal digits.
  std::string Digest(const Algorithm& algorithm, Input& input);

 private:
  template <typename Interface>
  std::string DigestOf(Interface& hash, Input& input);

  const CifraLibrary& library;
  Progress& progress;
  ReadAhead reader;
  std::optional<CifraObject<Cifra::IMd5>> md5;
  std::optional<CifraObject<Cifra::ISha256>> sha256;
};

}  // namespace client

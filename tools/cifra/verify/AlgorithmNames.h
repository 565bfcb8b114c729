#pragma once

#include <string>

namespace client {

// The common name of an algorithm, a curve or a key usage, as openssl writes it, by its object
// identifier; the identifier itself for one that is not known here. The platform's names are those
// of its display language.
std::string AlgorithmName(const std::string& objectId);

// The strength in bits of a digest algorithm against collisions as published when it was new, by
// its name; 0 for one that is not known here.
unsigned DigestBits(const std::string& name);

}  // namespace client

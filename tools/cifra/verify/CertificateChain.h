#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "verify/CertificateFacts.h"

namespace client {

struct ChainElement {
  CertificateFacts certificate;
  std::vector<std::string> errors;  // such as "untrusted root"; none when all is well
};

// BuildChain has the platform build the chain of a certificate up to its root, from what this
// computer has: nothing is fetched. The store holds the certificates that came with the signature,
// null for none; time is that of the verified time stamp in milliseconds since 1970, 0 for now.
// Nothing when no chain can be built.
std::optional<std::vector<ChainElement>> BuildChain(Bytes certificate, HCERTSTORE store,
                                                    std::uint64_t time);

}  // namespace client

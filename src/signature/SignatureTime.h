#pragma once

#include <windows.h>
#include <wintrust.h>

#include <cstdint>

namespace Cifra {

// ReadTimestamp returns the time at which a time-stamping authority countersigned the signature of
// `signer`, in milliseconds since 1970-01-01 00:00:00 UTC; 0 without such a countersignature and
// for a time that cannot be converted.
std::uint64_t ReadTimestamp(CRYPT_PROVIDER_DATA& provider, const CRYPT_PROVIDER_SGNR& signer);

}  // namespace Cifra

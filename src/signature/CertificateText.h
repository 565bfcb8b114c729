#pragma once

#include <windows.h>
#include <wincrypt.h>

#include "Cifra/SignatureInfo.h"

namespace Cifra {

// ReadCertificate fills in the issuer, serial number and subject of a certificate. Names that the
// platform cannot write as text, or cannot split, have no attributes. Returns false when there is
// no memory for the serial number.
bool ReadCertificate(const CERT_INFO& info, Certificate& certificate);

}  // namespace Cifra

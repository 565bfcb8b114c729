#pragma once

// Includes every public header.
#include "Cifra/Factory.h"
#include "Cifra/Functions.h"
#include "Cifra/IBase64.h"
#include "Cifra/IBlowfish.h"
#include "Cifra/IBlowfishAndBase64.h"
#include "Cifra/IDigitalSignature.h"
#include "Cifra/IKxBaseInterface.h"
#include "Cifra/IMd5.h"
#include "Cifra/ISha256.h"
#include "Cifra/ISignatureObserver.h"
#include "Cifra/InterfaceId.h"
#include "Cifra/Object.h"
#include "Cifra/ObjectIds.h"
#include "Cifra/ResultCodes.h"
#include "Cifra/SignatureInfo.h"
#include "foundation/string/StringT.h"

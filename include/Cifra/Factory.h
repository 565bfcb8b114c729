#pragma once

#include <cstdint>

#include "Cifra/IKxBaseInterface.h"
#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"
#include "Cifra/ResultCodes.h"

// The factory: makes and destroys objects by identifier. Any thread may call it at any time while
// the library is loaded; an object itself serves one caller at a time.
extern "C" {

// KxCreateObject makes a new object and stores a pointer to its interface *iid in *result. The
// caller owns the object until it passes it to KxDestroyObject, which takes its IKxBaseInterface:
// request that interface here, and the service interface from QueryInterface.
//
// Returns kCifraSuccess, or kCifraNotFound with a null *result when objectId is unknown, the object
// cannot be made or does not implement the interface. objectId (terminated UTF-16), iid and result
// must not be null. Throws std::bad_alloc when there is no memory for the object. If there is none
// for the path buffer that the constructor of kDigitalSignatureObjectId reserves, the process ends.
std::uint32_t KxCreateObject(const wchar_t* objectId, const InterfaceId* iid, void** result);

// KxDestroyObject destroys an object. objectId must be the identifier it was created with; given an
// unknown one, or that of another class, the function does nothing and the object remains.
void KxDestroyObject(const wchar_t* objectId, IKxBaseInterface* object);

}  // extern "C"

// The functions' types, for callers that resolve them with GetProcAddress.
using KxCreateObjectFunction = decltype(KxCreateObject);
using KxDestroyObjectFunction = decltype(KxDestroyObject);

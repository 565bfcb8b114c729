#pragma once

#include <cstdint>

#include "Cifra/IKxBaseInterface.h"
#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"
#include "Cifra/ResultCodes.h"

// The factory: makes and destroys objects by identifier. Any thread may call it at any time while
// the library is loaded; an object itself serves one caller at a time.
extern "C" {

// KxCreateObject makes a new object and stores the face of it that *iid names in *result. The
// object is the caller's until it is handed to KxDestroyObject, for which the caller needs the
// object's IKxBaseInterface: ask for that identifier here, and the object for its service.
//
// Returns kCifraSuccess, or kCifraNotFound with a null *result when objectId is unknown, the object
// cannot be made or does not offer the interface. objectId (terminated UTF-16), iid and result must
// not be null. std::bad_alloc leaves this function when there is no memory for the object; for the
// path that kDigitalSignatureObjectId holds from the start, lack of memory ends the process.
std::uint32_t KxCreateObject(const wchar_t* objectId, const InterfaceId* iid, void** result);

// KxDestroyObject destroys an object. objectId must be the identifier that the object was made
// under; with an unknown identifier, or that of another class, nothing happens and the object
// lives on.
void KxDestroyObject(const wchar_t* objectId, IKxBaseInterface* object);

}  // extern "C"

// The functions' types, for callers that resolve them with GetProcAddress.
using KxCreateObjectFunction = decltype(KxCreateObject);
using KxDestroyObjectFunction = decltype(KxDestroyObject);

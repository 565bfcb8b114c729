#pragma once

#include <windows.h>

#include "Cifra/Cifra.h"
#include "Runtime.h"

namespace Caller {

using Text = kx::StringT<wchar_t>;

// An export of the Cifra.dll beside the program.
template <typename Function>
Function* Export(const char* name) {
  static const HMODULE library = LoadLibraryW(L"Cifra.dll");
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// An object of the library, asked for its service as the interface Service.
template <typename Service>
class Object {
 public:
  explicit Object(const wchar_t* objectId) : id(objectId) {
    void* made = nullptr;
    CHECK(Export<KxCreateObjectFunction>("KxCreateObject")(id, &IKxBaseInterface::kInterfaceId,
                                                           &made) == kCifraSuccess);
    base = static_cast<IKxBaseInterface*>(made);
    service = static_cast<Service*>(base->QueryInterface(Service::kInterfaceId));
    CHECK(service != nullptr);
    CHECK(base->QueryInterface(InterfaceId{}) == nullptr);
  }
  ~Object() { Export<KxDestroyObjectFunction>("KxDestroyObject")(id, base); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  Service* operator->() const { return service; }

 private:
  const wchar_t* id;
  IKxBaseInterface* base;
  Service* service;
};

// The subjects. Each uses the library as a program built by a Microsoft compiler does.
void CheckCipher();
void CheckFunctions();
void CheckHashes();
void CheckSignatures();
void CheckStrings();

}  // namespace Caller

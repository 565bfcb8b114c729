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

inline Cifra::ObjectFactory Factory() {
  return {Export<KxCreateObjectFunction>("KxCreateObject"),
          Export<KxDestroyObjectFunction>("KxDestroyObject")};
}

// An object of the library that has its interface and no unknown one.
template <typename Service>
class Object : public Cifra::Object<Service> {
 public:
  Object() : Cifra::Object<Service>(Factory()) {
    CHECK(this->Get() != nullptr);
    CHECK(this->Base()->QueryInterface(InterfaceId{}) == nullptr);
  }
};

// The subjects. Each uses the library as a program built by a Microsoft compiler does.
void CheckCipher();
void CheckFunctions();
void CheckHashes();
void CheckSignatures();
void CheckStrings();

}  // namespace Caller

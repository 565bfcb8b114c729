#pragma once

#include <filesystem>

#include "Cifra/Cifra.h"
#include "foundation/ModuleHandle.h"

namespace Cifra::Test {

// CifraLibrary is a loaded Cifra.dll with its exports resolved. The library under test is the file
// that the program was started with (--dll=PATH; "Cifra.dll" beside the program by default).
class CifraLibrary {
 public:
  CifraLibrary();
  explicit CifraLibrary(const std::filesystem::path& file);

  static std::filesystem::path FileUnderTest();

  HMODULE Module() const { return module.get(); }
  void Unload() { module.reset(); }

  template <typename Function>
  Function* Export(const char* name) const {
    return kx::FindProcedure<Function>(module.get(), name);
  }

 private:
  kx::ModuleHandle module;

 public:
  KxCreateObjectFunction* createObject = nullptr;
  KxDestroyObjectFunction* destroyObject = nullptr;
  decltype(BlowfishAndBase64Encode)* blowfishAndBase64Encode = nullptr;
  decltype(Base64AndBlowfishDecode)* base64AndBlowfishDecode = nullptr;
};

// The library under test, loaded at its first use and kept until the program ends.
CifraLibrary& Library();

// Object is an object of the library under test, created by its base interface and queried for I.
// `result` is that of KxCreateObject.
template <typename I>
class Object {
 public:
  explicit Object(const wchar_t* id, CifraLibrary& from = Library()) : objectId(id), library(from) {
    void* created = nullptr;
    result = library.createObject(objectId, &IKxBaseInterface::kInterfaceId, &created);
    base = static_cast<IKxBaseInterface*>(created);
    iface = base ? static_cast<I*>(base->QueryInterface(I::kInterfaceId)) : nullptr;
  }
  ~Object() {
    if (base) {
      library.destroyObject(objectId, base);
    }
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  I* operator->() const { return iface; }
  I* Get() const { return iface; }
  IKxBaseInterface* Base() const { return base; }

 private:
  const wchar_t* objectId;
  CifraLibrary& library;
  IKxBaseInterface* base = nullptr;
  I* iface = nullptr;

 public:
  std::uint32_t result = 0;
};

}  // namespace Cifra::Test

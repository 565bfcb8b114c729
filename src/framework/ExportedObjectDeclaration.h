#pragma once

#include <string>

#include "foundation/Fatal.h"
#include "foundation/string/StringT.h"
#include "framework/IObjectConstructor.h"
#include "framework/ObjectRegistry.h"

// ExportedObjectDeclaration keeps the object class T registered under an identifier during its own
// lifetime. It is for static objects: if it cannot be constructed, the process ends.
//
// Of two declarations of an identifier the first one counts. Either one's destructor removes the
// identifier.
template <typename T>
class ExportedObjectDeclaration final : public IObjectConstructor {
 public:
  explicit ExportedObjectDeclaration(const wchar_t* objectId) try {
    AcquireRegistry(registryRef);
    identifier = objectId;
    registryRef->Register(identifier.c_str(), this);
  } catch (...) {
    kx::Fatal();
  }
  explicit ExportedObjectDeclaration(const kx::StringT<wchar_t>& objectId)
      : ExportedObjectDeclaration(objectId.CStr()) {}

  ~ExportedObjectDeclaration() {
    registryRef->Unregister(identifier.c_str());
    ReleaseRegistry(registryRef);
  }

  ExportedObjectDeclaration(const ExportedObjectDeclaration&) = delete;
  ExportedObjectDeclaration& operator=(const ExportedObjectDeclaration&) = delete;

  IKxBaseInterface* Create() override {
    T* object = new T;
    return static_cast<IKxBaseInterface*>(object->QueryInterface(IKxBaseInterface::kInterfaceId));
  }

  void Destroy(IKxBaseInterface* object) override { delete dynamic_cast<T*>(object); }

  int Reserved() override { return 0; }

 private:
  std::wstring identifier;
  RegistryRef registryRef;
};

#pragma once

#include <string>

#include "foundation/Fatal.h"
#include "framework/IObjectConstructor.h"
#include "framework/ObjectRegistry.h"

// ExportedObjectDeclaration registers the object class T under an identifier for as long as it
// lives. It is meant for static objects: a declaration that cannot be made ends the process.
template <typename T>
class ExportedObjectDeclaration final : public IObjectConstructor {
 public:
  explicit ExportedObjectDeclaration(const wchar_t* objectId) try : identifier(objectId) {
    AcquireRegistry(registryRef);
    // A second declaration of an identifier is ignored: the first one stays.
    registryRef->Register(identifier.c_str(), this);
  } catch (...) {
    kx::Fatal();
  }

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

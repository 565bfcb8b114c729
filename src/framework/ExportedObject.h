#pragma once

#include <string>
#include <utility>

#include "Cifra/Factory.h"
#include "framework/ModuleLoader.h"

// ExportedObject obtains an object of the library the way an outside caller does: it loads the
// library's file, resolves the factory and creates the object. It owns the object and one load
// reference, and gives both back when it is reset or destroyed. `iface` is null when the object
// could not be had; the wrapper is then empty and stays so. One thread at a time.
template <typename I>
class ExportedObject {
 public:
  ExportedObject(const ExportedObject&) = delete;
  ExportedObject& operator=(const ExportedObject&) = delete;

  // Forwards to the object; null when there is none.
  virtual void* QueryInterface(const InterfaceId& iid) {
    return object ? object->QueryInterface(iid) : nullptr;
  }

  void Reset() {
    if (object && destroyFunction) {
      destroyFunction(identifier.c_str(), object);
    }
    object = nullptr;
    iface = nullptr;
    module.reset();
    destroyFunction = nullptr;
    createFunction = nullptr;
    identifier.clear();
  }

 protected:
  explicit ExportedObject(const wchar_t* objectId) : identifier(objectId) {
    module = LoadCifraLibrary();
    if (!module || !Create()) {
      Reset();
    }
  }
  ~ExportedObject() { Reset(); }

 private:
  bool Create() {
    createFunction = kx::FindProcedure<KxCreateObjectFunction>(module.get(), "KxCreateObject");
    if (!createFunction) {
      return false;
    }
    destroyFunction = kx::FindProcedure<KxDestroyObjectFunction>(module.get(), "KxDestroyObject");
    if (!destroyFunction) {
      return false;
    }
    void* created = nullptr;
    if (createFunction(identifier.c_str(), &IKxBaseInterface::kInterfaceId, &created) !=
        kCifraSuccess) {
      return false;
    }
    object = static_cast<IKxBaseInterface*>(created);
    iface = static_cast<I*>(object->QueryInterface(I::kInterfaceId));
    return iface != nullptr;
  }

  kx::ModuleHandle module;
  IKxBaseInterface* object = nullptr;

 public:
  I* iface = nullptr;

 private:
  KxDestroyObjectFunction* destroyFunction = nullptr;
  KxCreateObjectFunction* createFunction = nullptr;
  std::wstring identifier;
};

namespace Cifra {

// CifraExportedObject is the form in which members and locals hold an object of this library.
template <typename I>
struct CifraExportedObject final : ExportedObject<I> {
  explicit CifraExportedObject(const wchar_t* objectId) : ExportedObject<I>(objectId) {}
};

}  // namespace Cifra

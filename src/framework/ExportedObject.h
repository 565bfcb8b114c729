#pragma once

#include <string>
#include <utility>

#include "Cifra/Factory.h"
#include "framework/ModuleLoader.h"

// ExportedObject creates an object of Cifra.dll as an outside caller would: it loads the DLL,
// resolves the factory and calls it. Callers depend on this: a Cifra.dll beside the host program
// replaces the objects that the running library uses. Otherwise the loader only counts one more
// reference to the running library, which keeps it loaded as long as the object lives.
//
// The wrapper owns the object and the load reference and returns both on Reset or destruction.
// `iface` is null if the object could not be obtained; the wrapper then stays empty. One thread at
// a time.
//
// The table's one virtual operation and the order of the fields, public and private, are fixed by
// contract.
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
    Load();
    if (!iface) {
      Reset();
    }
  }
  ~ExportedObject() { Reset(); }

 private:
  // Leaves iface null where a step fails.
  void Load() {
    module = LoadCifraLibrary();
    if (!module || !FindFactory()) {
      static_cast<void>(GetLastError());  // nobody to report it to
      return;
    }
    // The factory writes to the field itself.
    if (createFunction(identifier.c_str(), &IKxBaseInterface::kInterfaceId,
                       reinterpret_cast<void**>(&object)) == kCifraSuccess) {
      iface = static_cast<I*>(object->QueryInterface(I::kInterfaceId));
    }
  }

  bool FindFactory() {
    createFunction = kx::FindProcedure<KxCreateObjectFunction>(module.get(), "KxCreateObject");
    if (createFunction) {
      destroyFunction = kx::FindProcedure<KxDestroyObjectFunction>(module.get(), "KxDestroyObject");
    }
    return destroyFunction != nullptr;
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

// CifraExportedObject is the type of members and locals that hold an object of this library.
template <typename I>
struct CifraExportedObject final : ExportedObject<I> {
  explicit CifraExportedObject(const wchar_t* objectId) : ExportedObject<I>(objectId) {}
};

}  // namespace Cifra

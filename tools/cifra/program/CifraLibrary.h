#pragma once

#include <string>

#include "Cifra/Factory.h"
#include "system/Failure.h"
#include "system/Handles.h"

namespace client {

// CifraLibrary is Cifra.dll, loaded from this program's own folder and from nowhere else. It is not
// bound at link time: the user of a copy without its DLL, or with a broken one, then reads what is
// wrong and with which file, and gets an exit code of its own, where the system's loader would end
// the process without a word. Help works without the DLL.
//
// Failures are Failure kNoLibrary.
//
// The library's own imports come from the system's folder, not from this program's.
class CifraLibrary {
 public:
  CifraLibrary();

  // What is wrong with this library, for the user.
  Failure Unusable(const std::string& why) const;

  // Makes an object; it must be given back before this library goes.
  IKxBaseInterface* Create(const wchar_t* objectId) const;
  void Destroy(const wchar_t* objectId, IKxBaseInterface* object) const;

  // An exported function, by its pointer's type.
  template <typename Function>
  Function Resolve(const char* name) const {
    return reinterpret_cast<Function>(AddressOf(name));
  }

  const std::wstring& Path() const { return path; }
  // The version that the file states, such as "1.0.0"; empty when it states none.
  std::string Version() const;

 private:
  void* AddressOf(const char* name) const;

  std::wstring path;
  ModuleHandle module;
  KxCreateObjectFunction* createObject = nullptr;
  KxDestroyObjectFunction* destroyObject = nullptr;
};

// CifraObject owns one object of the library and gives its service.
template <typename Interface>
class CifraObject {
 public:
  CifraObject(const CifraLibrary& owner, const wchar_t* id)
      : library(owner),
        objectId(id),
        object(library.Create(id)),
        service(static_cast<Interface*>(object->QueryInterface(Interface::kInterfaceId))) {
    if (!service) {
      library.Destroy(objectId, object);
      throw library.Unusable("its object " + ToUtf8(objectId) + " is not the one of Cifra");
    }
  }
  ~CifraObject() { library.Destroy(objectId, object); }
  CifraObject(const CifraObject&) = delete;
  CifraObject& operator=(const CifraObject&) = delete;

  Interface& operator*() const { return *service; }
  Interface* operator->() const { return service; }

 private:
  const CifraLibrary& library;
  const wchar_t* objectId;
  IKxBaseInterface* object;
  Interface* service;
};

}  // namespace client

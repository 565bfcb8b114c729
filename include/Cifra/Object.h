#pragma once

#include <cstdint>
#include <utility>

#include "Cifra/Factory.h"
#include "Cifra/IKxBaseInterface.h"
#include "Cifra/ResultCodes.h"

namespace Cifra {

// ObjectFactory is the factory's two functions, wherever they come from: a Library (Library.h), or
// {KxCreateObject, KxDestroyObject} in a program that is linked with the import library.
struct ObjectFactory {
  KxCreateObjectFunction* create = nullptr;
  KxDestroyObjectFunction* destroy = nullptr;
};

// Object owns one object of the library and gives access to its service:
//
//   Cifra::Object<Cifra::ISha256> hash(library);
//   if (hash) {
//     hash->Update(bytes, length);
//   }
//
// The object is made under the identifier that belongs to the interface, so an interface never
// meets another class's object: IMd5 and ISha256 share an interface identifier, and Final of the
// one would write 32 bytes where the other has 16.
//
// The library must stay loaded while the Object exists. One thread at a time may use it.
template <typename Interface>
class Object {
 public:
  explicit Object(const ObjectFactory& objectFactory) : factory(objectFactory) {
    if (!factory.create || !factory.destroy) {
      return;
    }
    void* created = nullptr;
    result = factory.create(Interface::kObjectId, &IKxBaseInterface::kInterfaceId, &created);
    base = static_cast<IKxBaseInterface*>(created);
    if (base) {
      service = static_cast<Interface*>(base->QueryInterface(Interface::kInterfaceId));
    }
  }
  ~Object() {
    if (base) {
      factory.destroy(Interface::kObjectId, base);
    }
  }
  Object(Object&& other) noexcept
      : factory(other.factory),
        result(other.result),
        base(std::exchange(other.base, nullptr)),
        service(std::exchange(other.service, nullptr)) {}
  Object& operator=(Object&& other) noexcept {
    std::swap(factory, other.factory);
    std::swap(result, other.result);
    std::swap(base, other.base);
    std::swap(service, other.service);
    return *this;
  }

  // False when the object could not be made: no library, or one without this object.
  explicit operator bool() const { return service != nullptr; }

  // What KxCreateObject returned; kCifraNotFound without a library.
  std::uint32_t Result() const { return result; }

  Interface& operator*() const { return *service; }
  Interface* operator->() const { return service; }
  Interface* Get() const { return service; }
  IKxBaseInterface* Base() const { return base; }

 private:
  ObjectFactory factory;
  std::uint32_t result = kCifraNotFound;
  IKxBaseInterface* base = nullptr;
  Interface* service = nullptr;
};

}  // namespace Cifra

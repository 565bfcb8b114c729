#include "Cifra/Factory.h"

#include "framework/ObjectRegistry.h"

namespace {

IKxBaseInterface* Create(const wchar_t* objectId) {
  RegistryRef registry;
  AcquireRegistry(registry);
  return registry->Create(objectId);
}

}  // namespace

std::uint32_t KxCreateObject(const wchar_t* objectId, const InterfaceId* iid, void** result) {
  const InterfaceId wanted = *iid;  // iid and result may alias
  *result = nullptr;
  IKxBaseInterface* object = Create(objectId);
  if (!object) {
    return kCifraNotFound;
  }
  *result = object->QueryInterface(wanted);
  if (!*result) {
    KxDestroyObject(objectId, object);
    return kCifraNotFound;
  }
  return kCifraSuccess;
}

void KxDestroyObject(const wchar_t* objectId, IKxBaseInterface* object) {
  RegistryRef registry;
  AcquireRegistry(registry);
  registry->DestroyById(objectId, object);
}

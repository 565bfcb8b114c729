#include "framework/ObjectRegistry.h"

#include <mutex>
#include <string_view>

#include "Cifra/ResultCodes.h"

std::uint32_t ObjectRegistry::Register(const wchar_t* objectId, IObjectConstructor* constructor) {
  const std::lock_guard guard(lock);
  const bool isNew = constructors.try_emplace(objectId, constructor).second;
  return isNew ? kCifraSuccess : kCifraAlreadyExists;
}

void ObjectRegistry::Unregister(const wchar_t* objectId) {
  const std::lock_guard guard(lock);
  const auto found = constructors.find(std::wstring_view(objectId));
  if (found != constructors.end()) {
    constructors.erase(found);
  }
}

IKxBaseInterface* ObjectRegistry::Create(const wchar_t* objectId) {
  const std::lock_guard guard(lock);
  IObjectConstructor* constructor = Find(objectId);
  return constructor ? constructor->Create() : nullptr;
}

void ObjectRegistry::DestroyById(const wchar_t* objectId, IKxBaseInterface* object) {
  const std::lock_guard guard(lock);
  if (IObjectConstructor* constructor = Find(objectId)) {
    constructor->Destroy(object);
  }
}

IObjectConstructor* ObjectRegistry::Find(const wchar_t* objectId) const {
  const auto found = constructors.find(std::wstring_view(objectId));
  return found == constructors.end() ? nullptr : found->second;
}

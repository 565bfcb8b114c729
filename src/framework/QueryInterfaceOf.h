#pragma once

#include "Cifra/IKxBaseInterface.h"

// QueryInterfaceOf implements QueryInterface for every object class: an object has two interfaces,
// IKxBaseInterface and that of its service.
template <typename Interface, typename Object>
void* QueryInterfaceOf(Object* object, const InterfaceId& iid) {
  if (iid == IKxBaseInterface::kInterfaceId) {
    return static_cast<IKxBaseInterface*>(object);
  }
  if (iid == Interface::kInterfaceId) {
    return static_cast<Interface*>(object);
  }
  return nullptr;
}

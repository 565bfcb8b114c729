#pragma once

#include "Cifra/IKxBaseInterface.h"

// AnswerInterface is the QueryInterface of every object class: an object has two faces, the base's
// and that of its service, Interface.
template <typename Interface, typename Object>
void* AnswerInterface(Object* object, const InterfaceId& iid) {
  if (iid == IKxBaseInterface::kInterfaceId) {
    return static_cast<IKxBaseInterface*>(object);
  }
  if (iid == Interface::kInterfaceId) {
    return static_cast<Interface*>(object);
  }
  return nullptr;
}

#pragma once

#include "Cifra/InterfaceId.h"

// IKxBaseInterface is implemented by every object that the factory makes, beside the interface of
// its service. There is no reference counting: an object lives until KxDestroyObject.
class IKxBaseInterface {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x66551AB3, 0xFCA3, 0xBC90, {0x5F, 0x42, 0xC5, 0xF7, 0x92, 0xE2, 0x4B, 0x51}};

  // Returns the interface identified by iid, or null if it is not implemented. Cast the pointer to
  // exactly that interface.
  virtual void* QueryInterface(const InterfaceId& iid) = 0;

 protected:
  ~IKxBaseInterface() = default;
};

#pragma once

#include "Cifra/InterfaceId.h"

// IKxBaseInterface is the base of every object that the factory makes. An object answers two
// identifiers: this one and that of its own service interface. There are no reference counts; an
// object lives until KxDestroyObject.
class IKxBaseInterface {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x66551AB3, 0xFCA3, 0xBC90, {0x5F, 0x42, 0xC5, 0xF7, 0x92, 0xE2, 0x4B, 0x51}};

  // Returns the face of this object that iid names, or null when the object has none. The pointer
  // is the address of that interface's sub-object: cast it to exactly that interface.
  virtual void* QueryInterface(const InterfaceId& iid) = 0;

 protected:
  ~IKxBaseInterface() = default;
};

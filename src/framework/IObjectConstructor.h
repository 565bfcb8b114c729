#pragma once

#include "Cifra/IKxBaseInterface.h"

// IObjectConstructor creates and destroys the objects of one class for the registry.
class IObjectConstructor {
 public:
  // Creates a new object; throws std::bad_alloc without memory.
  virtual IKxBaseInterface* Create() = 0;
  // Destroys an object of this class; ignores one of another.
  virtual void Destroy(IKxBaseInterface* object) = 0;
  // Unused; keeps the slot. Returns 0.
  virtual int Reserved() = 0;

 protected:
  ~IObjectConstructor() = default;
};

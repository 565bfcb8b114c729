#pragma once

#include "Cifra/IKxBaseInterface.h"

// IObjectConstructor makes and destroys the objects of one class for the registry.
class IObjectConstructor {
 public:
  // Makes a new object. std::bad_alloc when there is no memory for it.
  virtual IKxBaseInterface* Create() = 0;
  // Destroys an object that Create made; one of another class is left alone.
  virtual void Destroy(IKxBaseInterface* object) = 0;
  // Holds its place in the table; returns 0.
  virtual int Reserved() = 0;

 protected:
  ~IObjectConstructor() = default;
};

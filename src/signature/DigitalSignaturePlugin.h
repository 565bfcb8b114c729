#pragma once

#include "Cifra/IKxBaseInterface.h"
#include "framework/QueryInterfaceOf.h"
#include "signature/DigitalSignatureObjectImplementation.h"

namespace Cifra {

// DigitalSignaturePlugin is the class that the factory makes for kDigitalSignatureObjectId.
class DigitalSignaturePlugin final : public DigitalSignatureObjectImplementation,
                                     public IKxBaseInterface {
 public:
  DigitalSignaturePlugin() { log.Acquire(); }

  void* QueryInterface(const InterfaceId& iid) override {
    return QueryInterfaceOf<IDigitalSignature>(this, iid);
  }

 private:
  logging::CLogDLLRef log;  // besides the one that the base class holds
};

}  // namespace Cifra

#pragma once

#include "Cifra/IKxBaseInterface.h"
#include "framework/QueryInterfaceOf.h"
#include "signature/DigitalSignatureObjectImplementation.h"

namespace Cifra {

// DigitalSignaturePlugin is the verification as an object of the factory.
class DigitalSignaturePlugin final : public DigitalSignatureObjectImplementation,
                                     public IKxBaseInterface {
 public:
  DigitalSignaturePlugin() { log.Acquire(); }

  void* QueryInterface(const InterfaceId& iid) override {
    return QueryInterfaceOf<IDigitalSignature>(this, iid);
  }

 private:
  logging::CLogDLLRef log;  // the plugin's own; the verification holds another
};

}  // namespace Cifra

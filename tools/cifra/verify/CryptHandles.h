#pragma once

#include <windows.h>
// After windows.h:
#include <wincrypt.h>

#include <memory>

namespace client {

// One owner type for each kind of the platform's cryptographic handles.
struct CertificateFreer {
  void operator()(const CERT_CONTEXT* context) const { CertFreeCertificateContext(context); }
};
using CertificateHandle = std::unique_ptr<const CERT_CONTEXT, CertificateFreer>;

struct ChainFreer {
  void operator()(const CERT_CHAIN_CONTEXT* chain) const { CertFreeCertificateChain(chain); }
};
using ChainHandle = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainFreer>;

struct StoreCloser {
  void operator()(void* store) const { CertCloseStore(store, 0); }
};
using StoreHandle = std::unique_ptr<void, StoreCloser>;

struct MessageCloser {
  void operator()(void* message) const { CryptMsgClose(message); }
};
using MessageHandle = std::unique_ptr<void, MessageCloser>;

}  // namespace client

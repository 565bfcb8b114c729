// Every interface that crosses the library's boundary, with one call each, which makes the compiler
// print the table.
#include "Cifra/Cifra.h"
#include "foundation/collections/List.h"
#include "foundation/collections/Map.h"
#include "framework/IObjectConstructor.h"

using String = kx::StringT<wchar_t>;
using Names = kx::List<String>;

void CallEach(IKxBaseInterface& base, IObjectConstructor& constructor, kx::IMemMgr& memMgr,
              Cifra::IBase64& base64, Cifra::IBlowfish& blowfish,
              Cifra::IBlowfishAndBase64& blowfishAndBase64, Cifra::IDigitalSignature& signature,
              Cifra::ISignatureObserver& observer, Cifra::IMd5& md5, Cifra::ISha256& sha256) {
  base.QueryInterface({});
  constructor.Reserved();
  memMgr.Release();
  base64.GetDecodedSize(0);
  blowfish.SetKey(nullptr, 0);
  blowfishAndBase64.SetKey(nullptr, 0);
  signature.SetObserver(nullptr);
  observer.OnSignatureDone();
  md5.Init();
  sha256.Init();
}

// The implementing classes too: they must add nothing before the end of their interface's table.
void CallCollections(kx::IList<String>& list, kx::IMap<String, Names>& map) {
  list.AddTail({});
  map.Clear();
  list.CreateEnum()->Release();
  list.CreateConstEnum()->Release();
  map.CreateEnum()->Release();
  map.CreateConstEnum()->Release();
  Names{}.AddTail({});
  kx::Map<String, Names>{}.Clear();
}

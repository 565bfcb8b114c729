#include "Library.h"

// Verification with this program's observer and list, which the library calls, and with the lists
// and maps that the library made, which this program calls.
namespace Caller {
namespace {

using Names = kx::List<Text>;

class Observer final : public Cifra::ISignatureObserver {
 public:
  void OnVerifyResult(std::int32_t result) override { lastResult = result; }
  void OnCertificate(const _CERT_CONTEXT* certificate) override { found += certificate != nullptr; }
  void OnSignatureDone() override { ++done; }

  std::int32_t lastResult = -1;
  int found = 0;
  int done = 0;
};

// The values alone tell whether the right slot was called.
template <typename Enumerator>
int WalkList(Enumerator* place) {
  int count = 0;
  for (; place->IsValid(); place->Next()) {
    count += place->Current()->Length() > 0;
  }
  CHECK(place->Current() == nullptr);
  place->Reset();
  CHECK(place->IsValid() == (count > 0));
  place->Release();
  return count;
}

// Every slot of a list; the reference hides that the class is final, so that the table is used.
void UseList(kx::IList<Text>& list) {
  CHECK(list.AddTail(L"last") == kCifraSuccess);
  CHECK(list.AddHead(L"first") == kCifraSuccess);
  const kx::IList<Text>& unchanging = list;
  Text out;
  CHECK(SameText(L"last", list.GetTail()->CStr()));
  CHECK(unchanging.GetTail() == list.GetTail());
  CHECK(list.GetTail(out) == kCifraSuccess && SameText(L"last", out.CStr()));
  CHECK(SameText(L"first", list.GetHead()->CStr()));
  CHECK(unchanging.GetHead() == list.GetHead());
  CHECK(list.GetHead(out) == kCifraSuccess && SameText(L"first", out.CStr()));
  const int count = WalkList(list.CreateEnum());
  CHECK(WalkList(unchanging.CreateConstEnum()) == count);
  kx::IListEnum<Text>* place = list.CreateEnum();
  CHECK(list.Remove(*place) == kCifraSuccess);
  place->Release();
  CHECK(WalkList(list.CreateEnum()) == count - 1);
}

template <typename Enumerator>
int WalkMap(Enumerator* place) {
  int count = 0;
  for (; place->IsValid(); place->Next()) {
    count += place->Key()->Length() > 0 && place->Value()->GetHead() != nullptr;
  }
  CHECK(place->Key() == nullptr && place->Value() == nullptr);
  place->Reset();
  CHECK(place->IsValid() == (count > 0));
  place->Release();
  return count;
}

// Every slot of a map with the elements CN and OU.
void UseMap(kx::IMap<Text, Names>& map) {
  const kx::IMap<Text, Names>& unchanging = map;
  CHECK(map.Count() == 2);
  CHECK(map.Find(L"CN") != nullptr);
  CHECK(map.Find(L"XX") == nullptr);
  CHECK(unchanging.Find(L"CN") == map.Find(L"CN"));
  Names values;
  CHECK(map.Get(L"CN", values) == kCifraSuccess);
  CHECK(SameText(L"A", values.GetHead()->CStr()));
  CHECK(map.Add(L"CN", values) == kCifraAlreadyExists);
  CHECK(map.Add(L"O", values) == kCifraSuccess);
  CHECK(WalkMap(map.CreateEnum()) == 3);
  CHECK(WalkMap(unchanging.CreateConstEnum()) == 3);
  UseList(*map.Find(L"OU"));
  CHECK(map.Remove(L"O") == kCifraSuccess);
  CHECK(map.Remove(L"O") == kCifraNotFound);
  kx::IEnum<Text, Names>* place = map.CreateEnum();
  CHECK(map.Remove(*place) == kCifraSuccess);
  place->Release();
  CHECK(map.Count() == 1);
  map.Clear();
  CHECK(map.Count() == 0);
}

// This program's own implementation of a list. What it is given was made by the library, so its
// tables are the library's; it takes each chain and then uses up the names in it.
class ChainTaker final : public kx::IList<Cifra::Chain> {
 public:
  using Chain = Cifra::Chain;

  std::uint32_t AddTail(const Chain& chain) override {
    CHECK(taken.AddTail(chain) == kCifraSuccess);
    const kx::IList<Cifra::Certificate>& certificates = chain.certificates;
    Cifra::Certificate certificate;
    CHECK(certificates.GetHead(certificate) == kCifraSuccess);
    // The library's own object, which it no longer needs but for destroying it.
    UseMap(const_cast<Cifra::Certificate*>(certificates.GetHead())->subject);
    return kCifraSuccess;
  }
  std::uint32_t AddHead(const Chain& chain) override { return taken.AddHead(chain); }
  KX_SLOTS_3(
      Chain* GetTail() override { return taken.GetTail(); },
      const Chain* GetTail() const override { return taken.GetTail(); },
      std::uint32_t GetTail(Chain& out) const override { return taken.GetTail(out); })
  KX_SLOTS_3(
      Chain* GetHead() override { return taken.GetHead(); },
      const Chain* GetHead() const override { return taken.GetHead(); },
      std::uint32_t GetHead(Chain& out) const override { return taken.GetHead(out); })
  std::uint32_t Remove(kx::IListEnum<Chain>& at) override { return taken.Remove(at); }
  kx::IListEnum<Chain>* CreateEnum() override { return taken.CreateEnum(); }
  kx::IConstListEnum<Chain>* CreateConstEnum() const override { return taken.CreateConstEnum(); }

  kx::List<Chain> taken;
};

void CheckChains(const kx::List<Cifra::Chain>& chains) {
  CHECK(chains.Count() == 2);
  const Cifra::Chain* first = chains.GetHead();
  CHECK(first->timestamp == 1600000000123);
  const Cifra::Certificate* certificate = first->certificates.GetHead();
  CHECK(SameText(L"01AB", certificate->serial.CStr()) ||
        SameText(L"01ab", certificate->serial.CStr()));
  CHECK(SameText(L"A", certificate->subject.Find(L"CN")->GetHead()->CStr()));
  CHECK(certificate->subject.Find(L"OU")->Count() == 2);
  CHECK(SameText(L"C", certificate->subject.Find(L"OU")->GetTail()->CStr()));
  CHECK(SameText(L"Root", certificate->issuer.Find(L"CN")->GetHead()->CStr()));
  CHECK(chains.GetTail()->timestamp == 0);
}

}  // namespace

void CheckSignatures() {
  Subject("IDigitalSignature");
  const Object<Cifra::IDigitalSignature> signature;
  const Text path = L"signed.txt";
  const bool onlineCheck = false;
  Observer observer;
  signature->SetObserver(&observer);
  CHECK(signature->VerifyFile(path, false) == kCifraSuccess);
  CHECK(observer.lastResult == static_cast<std::int32_t>(0x800B0101));
  CHECK(observer.found == 2 && observer.done == 2);

  kx::List<Cifra::Chain> chains;
  CHECK(signature->GetDigitalSignature(path, chains, onlineCheck) == kCifraSuccess);
  CheckChains(chains);
  CHECK(observer.done == 4);

  signature->SetObserver(nullptr);
  ChainTaker taker;
  CHECK(signature->GetDigitalSignature(path, taker, onlineCheck) == kCifraSuccess);
  CheckChains(taker.taken);
  CHECK(observer.done == 4);

  CHECK(signature->IsSigned(path, onlineCheck));
  CHECK(!signature->IsSigned(L"no such file", onlineCheck));
  CHECK(signature->VerifyFile(L"no such file", false) == ERROR_FILE_NOT_FOUND);
}

}  // namespace Caller

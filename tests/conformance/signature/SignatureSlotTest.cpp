#include <gtest/gtest.h>

#include "signature/ScriptedWalk.h"
#include "support/Slots.h"

// The verification and its results as a separately built caller uses them: by slot number only.
namespace {

using Cifra::Test::CallSlot;
using Cifra::Test::ScriptedSignature;
using Cifra::Test::Text;

enum ObjectSlot { kVerifyFile, kGetDigitalSignature, kIsSigned, kGetTrustedChains, kSetObserver };
enum ListSlot { kListGetHead = 5, kListRemove = 8, kListCreateEnum, kListCreateConstEnum };
enum ListEnumSlot { kListIsValid, kListNext, kListCurrent, kListRelease };
enum MapSlot { kMapFind = 1, kMapCreateConstEnum = 7, kMapCount = 9 };
enum EnumSlot { kIsValid, kNext, kKey, kValue, kRelease };

class SignatureSlot : public Cifra::Test::ScriptedWalk {
 protected:
  // Verifies a file with two signatures.
  void VerifyTwo() {
    ScriptedSignature first = Signed();
    first.subject = Cifra::Test::EncodedName(L"CN=A, OU=B, OU=C");
    first.counterSigners = {{SGNR_TYPE_TIMESTAMP, {0xD53E8000, 0x019DB1DE}}};  // 1970
    script.Play({first, Signed()});
    const bool onlineCheck = false;
    const Text path = file.wstring().c_str();
    EXPECT_EQ(0u, CallSlot<std::uint32_t>(object.Get(), kGetDigitalSignature, &path, &chains,
                                          &onlineCheck));
  }
};

TEST_F(SignatureSlot, EveryOperation_StandsInItsSlot) {
  VerifyTwo();
  const Text path = file.wstring().c_str();
  const bool onlineCheck = false;
  EXPECT_TRUE(CallSlot<bool>(object.Get(), kIsSigned, &path, &onlineCheck));
  std::vector<Cifra::Chain> trusted;
  CallSlot<void>(object.Get(), kGetTrustedChains, &trusted);
  EXPECT_EQ(4u, trusted.size());
  CallSlot<void, Cifra::ISignatureObserver*>(object.Get(), kSetObserver, &observer);
  script.Play({Signed()});
  EXPECT_EQ(0u,
            (CallSlot<std::uint32_t, const Text*, bool>(object.Get(), kVerifyFile, &path, false)));
  EXPECT_EQ("done", script.Events().back());
}

std::vector<std::wstring> Units(const Cifra::Certificate& certificate) {
  const Text key = L"OU";
  const void* list = CallSlot<const void*>(&certificate.subject, kMapFind, &key);
  void* value = CallSlot<void*>(list, kListCreateConstEnum);
  std::vector<std::wstring> units;
  for (; CallSlot<bool>(value, kListIsValid); CallSlot<void>(value, kListNext)) {
    units.push_back(CallSlot<const Text*>(value, kListCurrent)->CStr());
  }
  CallSlot<void>(value, kListRelease);
  return units;
}

TEST_F(SignatureSlot, AResult_IsWalkedThroughItsInterfacesAlone) {
  VerifyTwo();
  void* place = CallSlot<void*>(static_cast<kx::IList<Cifra::Chain>*>(&chains), kListCreateEnum);
  ASSERT_TRUE(CallSlot<bool>(place, kListIsValid));
  const auto* chain = CallSlot<const Cifra::Chain*>(place, kListCurrent);
  const auto* certificate = CallSlot<const Cifra::Certificate*>(&chain->certificates, kListGetHead);
  EXPECT_EQ((std::vector<std::wstring>{L"B", L"C"}), Units(*certificate));
  EXPECT_EQ(2u, CallSlot<std::size_t>(&certificate->subject, kMapCount));
  CallSlot<void>(place, kListNext);
  EXPECT_TRUE(CallSlot<bool>(place, kListIsValid));
  CallSlot<void>(place, kListNext);
  EXPECT_FALSE(CallSlot<bool>(place, kListIsValid));
  CallSlot<void>(place, kListRelease);
}

// The chains in the array were made by the library and have its tables.
TEST_F(SignatureSlot, TheLibrarysOwnCollections_AreWalkedAndChangedToo) {
  VerifyTwo();
  std::vector<Cifra::Chain> trusted = TrustedChains();
  Cifra::Chain& chain = trusted.front();
  auto* certificate = CallSlot<Cifra::Certificate*>(&chain.certificates, kListGetHead);
  EXPECT_EQ((std::vector<std::wstring>{L"B", L"C"}), Units(*certificate));
  void* pair = CallSlot<void*>(&certificate->subject, kMapCreateConstEnum);
  std::size_t pairs = 0;
  for (; CallSlot<bool>(pair, kIsValid); CallSlot<void>(pair, kNext)) {
    EXPECT_NE(nullptr, CallSlot<const Text*>(pair, kKey));
    EXPECT_NE(nullptr, CallSlot<const void*>(pair, kValue));
    ++pairs;
  }
  CallSlot<void>(pair, kRelease);
  EXPECT_EQ(2u, pairs);

  void* place = CallSlot<void*>(&chain.certificates, kListCreateEnum);
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&chain.certificates, kListRemove, place));
  EXPECT_FALSE(CallSlot<bool>(place, kListIsValid));
  CallSlot<void>(place, kListRelease);
  EXPECT_EQ(0u, chain.certificates.Count());
}

}  // namespace

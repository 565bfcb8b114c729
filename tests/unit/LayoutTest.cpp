#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>

#include "Cifra/ObjectIds.h"
#include "cipher/Base64ObjectImplementation.h"
#include "cipher/BlowfishAndBase64ObjectImplementation.h"
#include "cipher/BlowfishObjectImplementation.h"
#include "foundation/logging/CTraceScope.h"
#include "framework/ExportedObject.h"
#include "framework/ObjectRegistry.h"
#include "hash/Md5ObjectImplementation.h"
#include "hash/Sha256ObjectImplementation.h"
#include "signature/DigitalSignaturePlugin.h"

// The order of the bases and fields of the library's records, seen in their memory.
namespace {

constexpr std::size_t kPointer = sizeof(void*);

template <typename T>
T At(const void* object, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const char*>(object) + offset, sizeof(value));
  return value;
}

template <typename Base, typename Object>
std::ptrdiff_t OffsetOf(Object& object) {
  return reinterpret_cast<char*>(static_cast<Base*>(&object)) - reinterpret_cast<char*>(&object);
}

// A handle on a T, at an offset, that holds one reference.
template <typename T>
void ExpectHandleAt(const void* object, std::size_t offset) {
  kx::SharedRef<T> another;
  another.Acquire();
  EXPECT_EQ(another.operator->(), At<T*>(object, offset));
  EXPECT_EQ(1, At<std::int32_t>(object, offset + kPointer));
}

TEST(Layout, SharedRef_IsThePointerAndThenTheCount) {
  kx::SharedRef<ObjectRegistry> ref;
  EXPECT_EQ(2 * kPointer, sizeof(ref));
  EXPECT_EQ(nullptr, At<void*>(&ref, 0));
  EXPECT_EQ(0, At<std::int32_t>(&ref, kPointer));
  ref.Acquire();
  ExpectHandleAt<ObjectRegistry>(&ref, 0);
}

TEST(Layout, ExportedObject_HasItsSixFieldsInTheFixedOrder) {
  const Cifra::CifraExportedObject<Cifra::IMd5> loaded(Cifra::kMd5ObjectId);
  ASSERT_NE(nullptr, loaded.iface);
  const auto module = At<HMODULE>(&loaded, kPointer);
  EXPECT_EQ(GetModuleHandleW(L"Cifra.dll"), module);
  EXPECT_EQ(At<IKxBaseInterface*>(&loaded, 2 * kPointer)->QueryInterface(Cifra::IMd5::kInterfaceId),
            loaded.iface);
  EXPECT_EQ(loaded.iface, At<Cifra::IMd5*>(&loaded, 3 * kPointer));
  EXPECT_EQ(kx::FindProcedure<KxDestroyObjectFunction>(module, "KxDestroyObject"),
            At<KxDestroyObjectFunction*>(&loaded, 4 * kPointer));
  EXPECT_EQ(kx::FindProcedure<KxCreateObjectFunction>(module, "KxCreateObject"),
            At<KxCreateObjectFunction*>(&loaded, 5 * kPointer));
  EXPECT_EQ(6 * kPointer + sizeof(std::wstring), sizeof(loaded));
}

TEST(Layout, CTraceScope_IsStartTimeDisplayNameAndFunctionName) {
  const logging::CTraceScope scope(L"Function");
  const auto* names = reinterpret_cast<const wchar_t*>(&scope) + 2;
  EXPECT_STREQ(L"Function()", names);
  EXPECT_STREQ(L"Function", names + 260);
  EXPECT_EQ(4 + 2 * 260 * sizeof(wchar_t), sizeof(scope));
}

TEST(Layout, Md5Object_IsItsTwoBasesTheContextAndTheLog) {
  Md5ObjectImplementation md5;
  EXPECT_EQ(0, (OffsetOf<Cifra::IMd5>(md5)));
  EXPECT_EQ(8, (OffsetOf<IKxBaseInterface>(md5)));
  EXPECT_EQ(0x67452301u, At<std::uint32_t>(&md5, 2 * kPointer));
  ExpectHandleAt<logging::CLogDLL>(&md5, 2 * kPointer + sizeof(Md5Context));
}

TEST(Layout, Sha256Object_IsItsBasesTheLogTheTwoHandlesAndOpen) {
  Sha256ObjectImplementation sha256;
  EXPECT_EQ(0, (OffsetOf<Cifra::ISha256>(sha256)));
  EXPECT_EQ(8, (OffsetOf<IKxBaseInterface>(sha256)));
  ExpectHandleAt<logging::CLogDLL>(&sha256, 2 * kPointer);
  std::uint8_t byte = 0;
  EXPECT_NE(0, BCryptHashData(At<BCRYPT_HASH_HANDLE>(&sha256, 4 * kPointer), &byte, 1, 0));
  EXPECT_EQ(0, BCryptHashData(At<BCRYPT_HASH_HANDLE>(&sha256, 5 * kPointer), &byte, 1, 0));
  EXPECT_EQ(1, At<std::uint8_t>(&sha256, 6 * kPointer));
}

TEST(Layout, CombinedObject_IsItsTwoBasesTheKeyItsLengthAndTheParts) {
  BlowfishAndBase64ObjectImplementation combined;
  EXPECT_EQ(0, (OffsetOf<IKxBaseInterface>(combined)));
  EXPECT_EQ(8, (OffsetOf<Cifra::IBlowfishAndBase64>(combined)));
  combined.SetKey(reinterpret_cast<const std::uint8_t*>("key"), 3);
  EXPECT_EQ('k', At<char>(&combined, 2 * kPointer));
  EXPECT_EQ(3u, At<std::uint32_t>(&combined, 2 * kPointer + 56));
}

TEST(Layout, OtherObjects_HaveTheirBasesInOrder) {
  Base64ObjectImplementation base64;
  EXPECT_EQ(0, (OffsetOf<Cifra::IBase64>(base64)));
  EXPECT_EQ(8, (OffsetOf<IKxBaseInterface>(base64)));
  BlowfishObjectImplementation blowfish;
  EXPECT_EQ(0, (OffsetOf<IKxBaseInterface>(blowfish)));
  EXPECT_EQ(8, (OffsetOf<Cifra::IBlowfish>(blowfish)));
  Cifra::DigitalSignaturePlugin signature;
  EXPECT_EQ(0, (OffsetOf<Cifra::IDigitalSignature>(signature)));
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(Cifra::DigitalSignatureObjectImplementation)),
            (OffsetOf<IKxBaseInterface>(signature)));
}

// The offset of a member that is no field of a plain record.
template <typename Object, typename Member>
std::ptrdiff_t OffsetOf(const Object& object, const Member& member) {
  return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&object);
}

TEST(Layout, Certificate_IsIssuerSerialAndSubject) {
  using Name = Cifra::SignatureInfo::Name;
  const Cifra::Certificate certificate;
  EXPECT_EQ(0, OffsetOf(certificate, certificate.issuer));
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(Name)), OffsetOf(certificate, certificate.serial));
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(Name) + kPointer),
            OffsetOf(certificate, certificate.subject));
  EXPECT_EQ(2 * sizeof(Name) + kPointer, sizeof(certificate));
}

TEST(Layout, Chain_IsTheCertificatesAndTheTimestamp) {
  const Cifra::Chain chain;
  EXPECT_EQ(0, OffsetOf(chain, chain.certificates));
  EXPECT_EQ(static_cast<std::ptrdiff_t>(sizeof(chain.certificates)),
            OffsetOf(chain, chain.timestamp));
  EXPECT_EQ(sizeof(chain.certificates) + 8, sizeof(chain));
}

TEST(Layout, Verification_IsPathFileChainsObserverAndLog) {
  Cifra::DigitalSignaturePlugin signature;
  struct : Cifra::ISignatureObserver {
    void OnVerifyResult(std::int32_t) override {}
    void OnCertificate(const CERT_CONTEXT*) override {}
    void OnSignatureDone() override {}
  } observer;
  EXPECT_EQ(nullptr, At<void*>(&signature, 6 * kPointer));
  signature.SetObserver(&observer);

  const auto path = At<const wchar_t*>(&signature, kPointer);
  ASSERT_NE(nullptr, path);
  EXPECT_STREQ(L"", path);
  EXPECT_EQ(INVALID_HANDLE_VALUE, At<HANDLE>(&signature, 2 * kPointer));
  EXPECT_EQ(nullptr, At<void*>(&signature, 3 * kPointer));
  EXPECT_EQ(nullptr, At<void*>(&signature, 4 * kPointer));
  EXPECT_EQ(nullptr, At<void*>(&signature, 5 * kPointer));
  EXPECT_EQ(&observer, At<void*>(&signature, 6 * kPointer));
  ExpectHandleAt<logging::CLogDLL>(&signature, 7 * kPointer);
}

TEST(Layout, Plugin_HasALogReferenceOfItsOwnBehindItsBases) {
  Cifra::DigitalSignaturePlugin signature;
  const std::size_t bases = sizeof(Cifra::DigitalSignatureObjectImplementation) + kPointer;
  ExpectHandleAt<logging::CLogDLL>(&signature, bases);
  EXPECT_EQ(bases + 2 * kPointer, sizeof(signature));
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include "signature/ScriptedWalk.h"
#include "support/ImportPatch.h"

// Exceptions in the middle of a walk: they reach the caller, the service's state is closed, the
// path forgotten and the file closed.
namespace Cifra::Test {
namespace {

enum class Step { kNone, kVerifyResult, kCertificate, kSignatureDone };

class ThrowingObserver final : public ISignatureObserver {
 public:
  explicit ThrowingObserver(Step throwing) : at(throwing) {}

  void OnVerifyResult(std::int32_t) override { ThrowAt(Step::kVerifyResult); }
  void OnCertificate(const CERT_CONTEXT*) override { ThrowAt(Step::kCertificate); }
  void OnSignatureDone() override { ThrowAt(Step::kSignatureDone); }

 private:
  void ThrowAt(Step step) const {
    if (step == at) {
      throw std::runtime_error("enough");
    }
  }

  Step at;
};

// A caller's list that takes nothing.
class ThrowingList final : public kx::IList<Chain> {
 public:
  std::uint32_t AddTail(const Chain&) override { throw std::runtime_error("enough"); }
  std::uint32_t AddHead(const Chain&) override { return 0; }
  Chain* GetTail() override { return nullptr; }
  const Chain* GetTail() const override { return nullptr; }
  std::uint32_t GetTail(Chain&) const override { return kCifraNotFound; }
  Chain* GetHead() override { return nullptr; }
  const Chain* GetHead() const override { return nullptr; }
  std::uint32_t GetHead(Chain&) const override { return kCifraNotFound; }
  std::uint32_t Remove(kx::IListEnum<Chain>&) override { return kCifraNotFound; }
  kx::IListEnum<Chain>* CreateEnum() override { return nullptr; }
  kx::IConstListEnum<Chain>* CreateConstEnum() const override { return nullptr; }
};

class SignatureException : public ScriptedWalk {
 protected:
  template <typename Exception>
  void ExpectFromWalk(kx::IList<Chain>& list) {
    script.Play({Signed(), Signed()});
    EXPECT_THROW(object->GetDigitalSignature(file.wstring().c_str(), list, false), Exception);
    ExpectNothingLeft();
  }

  void ExpectNothingLeft() {
    EXPECT_EQ(0u, script.OpenStates());
    // The path is the object's first field behind its table.
    const wchar_t* path = nullptr;
    std::memcpy(&path, reinterpret_cast<const char*>(object.Get()) + sizeof(void*), sizeof(path));
    ASSERT_NE(nullptr, path);
    EXPECT_STREQ(L"", path);
    // An open file would only be marked for its deletion.
    EXPECT_TRUE(DeleteFileW(file.c_str()));
    EXPECT_FALSE(std::filesystem::exists(file));
  }
};

TEST_F(SignatureException, OfEachOperationOfTheObserver_LeavesNothingOpen) {
  for (const Step step : {Step::kVerifyResult, Step::kCertificate, Step::kSignatureDone}) {
    SetUp();  // the file is deleted by each round
    ThrowingObserver thrower(step);
    object->SetObserver(&thrower);
    ExpectFromWalk<std::runtime_error>(chains);
    object->SetObserver(nullptr);
  }
}

TEST_F(SignatureException, OfTheCallersList_LeavesNothingOpen) {
  ThrowingList list;
  ExpectFromWalk<std::runtime_error>(list);
}

bool hasFailed = false;

// Gives no memory for the first certificate of a chain.
void* AllocateNoCertificate(std::size_t bytes) {
  if (bytes == sizeof(kx::ListNode<Certificate>) && !hasFailed) {
    hasFailed = true;
    return nullptr;
  }
  return std::malloc(bytes);
}

TEST_F(SignatureException, OfExhaustedMemoryInTheMiddle_LeavesNothingOpen) {
  const ImportPatch patch(Library().Module(), "malloc", &AllocateNoCertificate);
  hasFailed = false;
  ExpectFromWalk<std::bad_alloc>(chains);
  EXPECT_TRUE(hasFailed);
  EXPECT_EQ(0u, chains.Count());
}

TEST_F(SignatureException, ObjectThatThrew_VerifiesTheNextFile) {
  ThrowingObserver thrower(Step::kCertificate);
  object->SetObserver(&thrower);
  ExpectFromWalk<std::runtime_error>(chains);
  object->SetObserver(nullptr);
  SetUp();
  EXPECT_EQ(0u, Walk({Signed()}));
  EXPECT_EQ(1u, chains.Count());
}

}  // namespace
}  // namespace Cifra::Test

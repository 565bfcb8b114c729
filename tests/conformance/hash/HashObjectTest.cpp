#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "hash/HashData.h"
#include "support/CountedHeap.h"
#include "support/LibraryUnderTest.h"
#include "support/TestData.h"

// Tests that apply to both hash objects.
namespace {

using Cifra::Object;
using Cifra::Test::Bytes;
using Cifra::Test::BytesOf;
using Cifra::Test::HashString;
using Cifra::Test::HashStringOf;
using Cifra::Test::KnownDigest;
using Cifra::Test::Library;

template <typename Kind>
class HashObject : public testing::Test {
 protected:
  using Interface = typename Kind::Interface;

  Object<Interface> hash{Library()};
};

using Kinds = testing::Types<Cifra::Test::Md5Kind, Cifra::Test::Sha256Kind>;
TYPED_TEST_SUITE(HashObject, Kinds);

TYPED_TEST(HashObject, NewObject_IsReady) {
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 0), HashString(*this->hash.Get()));
  const Object<typename TypeParam::Interface> another(Library());
  const Cifra::Test::Messages messages;
  another->Update(messages.Prefix(3).data(), 3);
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 3), HashString(*another.Get()));
}

TYPED_TEST(HashObject, QueryInterface_AnswersTheBaseAndTheIdentifierThatBothShare) {
  constexpr InterfaceId kShared{
      0x6E4FE624, 0x83FC, 0x8488, {0xF6, 0x48, 0x1B, 0x72, 0x71, 0x06, 0x47, 0x4D}};
  IKxBaseInterface* const base = this->hash.Base();
  EXPECT_EQ(base, base->QueryInterface(IKxBaseInterface::kInterfaceId));
  EXPECT_EQ(this->hash.Get(), base->QueryInterface(kShared));
  EXPECT_TRUE(kShared == Cifra::IMd5::kInterfaceId);
  EXPECT_TRUE(kShared == Cifra::ISha256::kInterfaceId);
  EXPECT_EQ(nullptr, base->QueryInterface(Cifra::IBlowfish::kInterfaceId));

  void* created = nullptr;
  ASSERT_EQ(kCifraSuccess, Library().create(TypeParam::Interface::kObjectId, &kShared, &created));
  auto* const made = static_cast<typename TypeParam::Interface*>(created);
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 0), HashString(*made));
  // The service interface comes first in the object, the base interface second.
  Library().destroy(TypeParam::Interface::kObjectId,
                    reinterpret_cast<IKxBaseInterface*>(static_cast<void**>(created) + 1));
}

TYPED_TEST(HashObject, Operations_StandInTheirSlots) {
  const auto slot = [&](std::size_t number) {
    return (*static_cast<void***>(static_cast<void*>(this->hash.Get())))[number];
  };
  void* const self = this->hash.Get();
  const std::string abc = "abc";
  kx::StringT<wchar_t> text;
  std::uint8_t digest[TypeParam::Interface::kDigestBytes] = {};

  reinterpret_cast<void (*)(void*, const char*, std::uint32_t)>(slot(1))(self, "other", 5);
  reinterpret_cast<void (*)(void*)>(slot(0))(self);
  reinterpret_cast<void (*)(void*, const char*, std::uint32_t)>(slot(1))(self, abc.data(), 3);
  reinterpret_cast<void (*)(void*, void*)>(slot(2))(self, &text);
  EXPECT_EQ(HashStringOf(*this->hash.Get(), BytesOf(abc)), Cifra::Test::Narrow(text));

  reinterpret_cast<void (*)(void*)>(slot(0))(self);
  reinterpret_cast<void (*)(void*, void*)>(slot(3))(self, digest);
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 0),
            Cifra::Test::UpperCase(Cifra::Test::ToHex(digest, sizeof(digest))));

  const auto hashFile = reinterpret_cast<std::uint32_t (*)(void*, const wchar_t*, void*)>(slot(4));
  EXPECT_EQ(std::uint32_t{ERROR_FILE_NOT_FOUND}, hashFile(self, L"no such file", &text));
}

TYPED_TEST(HashObject, GetHashString_ReplacesEarlierContent) {
  kx::StringT<wchar_t> text(
      L"earlier content that is longer than any digest, by a good measure: "
      L"0123456789 0123456789 0123456789");
  this->hash->GetHashString(text);
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 0), Cifra::Test::Narrow(text));
}

TYPED_TEST(HashObject, Init_StartsOver) {
  this->hash->Update(BytesOf("to be forgotten").data(), 15);
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 0), HashStringOf(*this->hash.Get(), {}));
}

TYPED_TEST(HashObject, LengthsAroundEveryPaddingBoundary_GiveTheKnownDigests) {
  const Cifra::Test::Messages messages;
  for (std::size_t length = 0; length <= 130; ++length) {
    EXPECT_EQ(KnownDigest<TypeParam>("prefix", length),
              HashStringOf(*this->hash.Get(), messages.Prefix(length)))
        << length;
  }
}

// Adds a message in pieces of random length, empty ones among them.
template <typename Hash>
void UpdateInPieces(Hash& hash, std::span<const std::uint8_t> message, std::minstd_rand& random) {
  while (!message.empty()) {
    const std::size_t piece = std::min<std::size_t>(random() % 200, message.size());
    hash.Update(message.data(), static_cast<std::uint32_t>(piece));
    message = message.subspan(piece);
  }
}

TYPED_TEST(HashObject, RandomMessagesInRandomPieces_GiveTheDigestsOfOpenSsl) {
  constexpr int kBatches = 100;
  constexpr int kBatchMessages = 1000;
  Cifra::Test::Messages messages;
  std::minstd_rand random(7);
  for (int batch = 0; batch < kBatches; ++batch) {
    Bytes digests;
    for (int i = 0; i < kBatchMessages; ++i) {
      this->hash->Init();
      UpdateInPieces(*this->hash.Get(), messages.Next(), random);
      std::uint8_t digest[TypeParam::Interface::kDigestBytes];
      this->hash->Final(digest);
      digests.insert(digests.end(), std::begin(digest), std::end(digest));
    }
    ASSERT_EQ(KnownDigest<TypeParam>("batch", static_cast<std::uint64_t>(batch)),
              HashStringOf(*this->hash.Get(), digests))
        << "batch " << batch;
  }
}

TYPED_TEST(HashObject, ObjectsOfEightThreads_DoNotDisturbEachOther) {
  constexpr int kThreads = 8;
  const std::string message(100'000, 'x');
  const std::string expected = HashStringOf(*this->hash.Get(), BytesOf(message));
  std::string results[kThreads];
  std::vector<std::thread> threads;
  for (std::string& result : results) {
    threads.emplace_back([&] {
      const Object<typename TypeParam::Interface> own(Library());
      std::minstd_rand random(1);
      UpdateInPieces(*own.Get(), BytesOf(message), random);
      result = HashString(*own.Get());
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::string& result : results) {
    EXPECT_EQ(expected, result);
  }
}

TYPED_TEST(HashObject, DestroyedObject_LeaksNoMemory) {
  const Cifra::Test::CountedHeap heap;
  {
    const Object<typename TypeParam::Interface> another(Library());
    EXPECT_GT(heap.LiveBlocks(), 0);
    HashStringOf(*another.Get(), BytesOf("abc"));
  }
  EXPECT_EQ(0, heap.LiveBlocks());
}

TYPED_TEST(HashObject, DestroyUnderTheOtherIdentifier_LeavesItAlive) {
  const bool isMd5 = std::is_same_v<TypeParam, Cifra::Test::Md5Kind>;
  Library().destroy(isMd5 ? Cifra::kSha256ObjectId : Cifra::kMd5ObjectId, this->hash.Base());
  EXPECT_EQ(KnownDigest<TypeParam>("prefix", 0), HashString(*this->hash.Get()));
}

}  // namespace

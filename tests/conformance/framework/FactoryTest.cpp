#include <gtest/gtest.h>

#include <new>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/CountedHeap.h"
#include "support/LibraryUnderTest.h"
#include "support/ProcessResources.h"

namespace {

using Cifra::Object;
using Cifra::Test::Library;

struct ObjectKind {
  const wchar_t* objectId;
  InterfaceId interfaceId;
};

// Every object the library offers.
const ObjectKind kKinds[] = {
    {Cifra::kBlowfishAndBase64ObjectId, Cifra::IBlowfishAndBase64::kInterfaceId},
    {Cifra::kBase64ObjectId, Cifra::IBase64::kInterfaceId},
    {Cifra::kBlowfishObjectId, Cifra::IBlowfish::kInterfaceId},
    {Cifra::kDigitalSignatureObjectId, Cifra::IDigitalSignature::kInterfaceId},
    {Cifra::kMd5ObjectId, Cifra::IMd5::kInterfaceId},
    {Cifra::kSha256ObjectId, Cifra::ISha256::kInterfaceId},
};

IKxBaseInterface* Create(const wchar_t* objectId) {
  void* base = nullptr;
  EXPECT_EQ(kCifraSuccess, Library().create(objectId, &IKxBaseInterface::kInterfaceId, &base));
  return static_cast<IKxBaseInterface*>(base);
}

std::uint32_t TryCreate(const wchar_t* objectId, const InterfaceId& iid, void*& result) {
  int notNull = 0;
  result = &notNull;
  return Library().create(objectId, &iid, &result);
}

TEST(Factory, EveryObject_AnswersTheBaseAndItsOwnInterfaceAndNoOther) {
  for (const ObjectKind& kind : kKinds) {
    IKxBaseInterface* object = Create(kind.objectId);
    ASSERT_NE(nullptr, object);
    EXPECT_EQ(object, object->QueryInterface(IKxBaseInterface::kInterfaceId));
    EXPECT_NE(nullptr, object->QueryInterface(kind.interfaceId));
    for (const ObjectKind& other : kKinds) {
      EXPECT_EQ(other.interfaceId == kind.interfaceId,
                object->QueryInterface(other.interfaceId) != nullptr);
    }
    InterfaceId nearMiss = kind.interfaceId;
    nearMiss.data4[7] ^= 1;
    EXPECT_EQ(nullptr, object->QueryInterface(nearMiss));
    Library().destroy(kind.objectId, object);
  }
}

TEST(Factory, CreateObject_ReturnsTheInterfaceItIsAskedFor) {
  void* result = nullptr;
  ASSERT_EQ(kCifraSuccess, TryCreate(Cifra::kBase64ObjectId, Cifra::IBase64::kInterfaceId, result));
  auto* base64 = static_cast<Cifra::IBase64*>(result);
  EXPECT_EQ(3u, base64->GetDecodedSize(4));
  // The service interface is the object's first base here, and the base interface follows it.
  Library().destroy(Cifra::kBase64ObjectId,
                    reinterpret_cast<IKxBaseInterface*>(static_cast<void**>(result) + 1));
}

TEST(Factory, CreateObject_WithoutTheInterface_DestroysTheObject) {
  const Cifra::Test::CountedHeap heap;
  for (const ObjectKind& kind : kKinds) {
    for (const ObjectKind& other : kKinds) {
      if (other.interfaceId == kind.interfaceId) {
        continue;
      }
      void* result = nullptr;
      EXPECT_EQ(kCifraNotFound, TryCreate(kind.objectId, other.interfaceId, result));
      EXPECT_EQ(nullptr, result);
    }
  }
  EXPECT_EQ(0, heap.LiveBlocks());
}

TEST(Factory, CreateObject_MatchesIdentifiersCaseSensitively) {
  for (const wchar_t* objectId :
       {L"cifra.Md5", L"Cifra.md5", L"Cifra.MD5", L"CIFRA.MD5", L"Cifra.base64"}) {
    void* result = nullptr;
    EXPECT_EQ(kCifraNotFound, TryCreate(objectId, IKxBaseInterface::kInterfaceId, result));
    EXPECT_EQ(nullptr, result);
  }
}

TEST(Factory, CreateObject_KnowsTheCombinedObjectOnlyAsBowfish) {
  void* result = nullptr;
  EXPECT_EQ(kCifraNotFound,
            TryCreate(L"Cifra.BlowfishAndBase64", IKxBaseInterface::kInterfaceId, result));
  Library().destroy(L"Cifra.BowfishAndBase64", Create(L"Cifra.BowfishAndBase64"));
}

TEST(Factory, CreateObject_OfMd5AsBlowfish_GivesNotFound) {
  IKxBaseInterface* md5 = Create(Cifra::kMd5ObjectId);
  EXPECT_NE(nullptr, md5);
  Library().destroy(Cifra::kMd5ObjectId, md5);
  void* result = nullptr;
  EXPECT_EQ(kCifraNotFound, TryCreate(Cifra::kMd5ObjectId, Cifra::IBlowfish::kInterfaceId, result));
  EXPECT_EQ(nullptr, result);
}

TEST(Factory, CreateObject_OfSha256AsMd5_GivesItsSha256Interface) {
  const Object<Cifra::ISha256> sha256(Library());
  EXPECT_EQ(sha256.Get(), sha256.Base()->QueryInterface(Cifra::IMd5::kInterfaceId));
  kx::StringT<wchar_t> digest;
  sha256->GetHashString(digest);
  EXPECT_EQ(64u, digest.Length());
}

TEST(Factory, CreateObject_TakesIdentifierAndResultInTheSameMemory) {
  union {
    InterfaceId iid;
    void* result;
  } shared = {Cifra::IBase64::kInterfaceId};
  ASSERT_EQ(kCifraSuccess, Library().create(Cifra::kBase64ObjectId, &shared.iid, &shared.result));
  EXPECT_EQ(3u, static_cast<Cifra::IBase64*>(shared.result)->GetDecodedSize(4));
  Library().destroy(Cifra::kBase64ObjectId,
                    reinterpret_cast<IKxBaseInterface*>(static_cast<void**>(shared.result) + 1));
}

TEST(Factory, CreateObject_RefusesPrefixesAndExtensionsOfIdentifiers) {
  for (const wchar_t* objectId :
       {L"", L"Cifra.", L"Cifra.Base6", L"Cifra.Base64 ", L"Cifra.Base641"}) {
    void* result = nullptr;
    EXPECT_EQ(kCifraNotFound, TryCreate(objectId, IKxBaseInterface::kInterfaceId, result));
    EXPECT_EQ(nullptr, result);
  }
}

TEST(Factory, CreateObject_MakesADistinctObjectEachTime) {
  for (const ObjectKind& kind : kKinds) {
    IKxBaseInterface* first = Create(kind.objectId);
    IKxBaseInterface* second = Create(kind.objectId);
    EXPECT_NE(first, second);
    Library().destroy(kind.objectId, first);
    Library().destroy(kind.objectId, second);
  }
}

TEST(Factory, DestroyObject_UnderAnotherIdentifier_LeavesTheObjectAlive) {
  const Cifra::Test::CountedHeap heap;
  const Object<Cifra::IBlowfish> blowfish(Library());
  const Object<Cifra::IMd5> md5(Library());
  const std::uint8_t key[] = {1, 2, 3};
  blowfish->SetKey(key, sizeof(key));
  const long blocks = heap.LiveBlocks();
  Library().destroy(Cifra::kBase64ObjectId, blowfish.Base());
  Library().destroy(Cifra::kBase64ObjectId, md5.Base());
  Library().destroy(L"Cifra.Unknown", blowfish.Base());
  EXPECT_EQ(blocks, heap.LiveBlocks());
  std::vector<std::uint8_t> output;
  EXPECT_EQ(0u, blowfish->Encrypt(key, sizeof(key), output));
  EXPECT_EQ(8u, output.size());
}

TEST(Factory, DestroyObject_OfNull_DoesNothing) {
  Library().destroy(Cifra::kBase64ObjectId, nullptr);
}

TEST(Factory, DestroyObject_GivesAllMemoryBack) {
  const Cifra::Test::CountedHeap heap;
  for (const ObjectKind& kind : kKinds) {
    Library().destroy(kind.objectId, Create(kind.objectId));
    EXPECT_EQ(0, heap.LiveBlocks()) << kind.objectId;
  }
}

// Creates an object without any memory.
void ExpectBadAlloc() {
  Cifra::Test::CountedHeap heap;
  heap.FailAfter(0);
  void* result = nullptr;
  EXPECT_THROW(Library().create(Cifra::kBlowfishObjectId, &IKxBaseInterface::kInterfaceId, &result),
               std::bad_alloc);
}

// Fails each allocation of a creation in turn until it succeeds.
TEST(Factory, CreateObject_WithoutMemory_ThrowsBadAllocWithoutALeak) {
  ExpectBadAlloc();  // the first exception of a process sets up what the runtime then keeps
  for (const ObjectKind& kind : kKinds) {
    if (kind.objectId == Cifra::kDigitalSignatureObjectId) {
      continue;  // see the next test
    }
    Cifra::Test::CountedHeap heap;
    int failures = 0;
    IKxBaseInterface* object = nullptr;
    while (!object) {
      heap.FailAfter(failures);
      void* result = nullptr;
      try {
        Library().create(kind.objectId, &IKxBaseInterface::kInterfaceId, &result);
        object = static_cast<IKxBaseInterface*>(result);
        ASSERT_NE(nullptr, object);
      } catch (const std::bad_alloc&) {
        ++failures;
        EXPECT_EQ(nullptr, result);
      }
      heap.FailNever();
      if (!object) {
        EXPECT_EQ(0, heap.LiveBlocks()) << kind.objectId << ", allocation " << failures;
      }
    }
    EXPECT_GE(failures, 1);
    Library().destroy(kind.objectId, object);
    EXPECT_EQ(0, heap.LiveBlocks());
  }
}

// Fails each allocation of a creation in turn until a string's ends the process.
const Cifra::Test::ChildAction kCreateSignature(L"CreateSignatureWithoutMemory", [](const auto&) {
  Cifra::Test::CountedHeap heap;
  for (int succeeding = 0;; ++succeeding) {
    heap.FailAfter(succeeding);
    try {
      void* result = nullptr;
      return static_cast<int>(Library().create(Cifra::kDigitalSignatureObjectId,
                                               &IKxBaseInterface::kInterfaceId, &result));
    } catch (const std::bad_alloc&) {
    }
  }
});

TEST(Factory, CreateObject_WithoutMemoryForThePath_EndsTheProcessSilently) {
  const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"CreateSignatureWithoutMemory");
  EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode);
  EXPECT_EQ("", child.output);
}

TEST(Factory, CreateObject_AfterAFailure_ServesOtherThreads) {
  ExpectBadAlloc();
  // A registry lock that was not released would block this thread for ever.
  std::thread([] {
    Library().destroy(Cifra::kBlowfishObjectId, Create(Cifra::kBlowfishObjectId));
  }).join();
}

void CreateAndDestroy(int times) {
  for (int i = 0; i < times; ++i) {
    const ObjectKind& kind = kKinds[static_cast<std::size_t>(i) % std::size(kKinds)];
    void* result = nullptr;
    if (Library().create(kind.objectId, &IKxBaseInterface::kInterfaceId, &result) !=
        kCifraSuccess) {
      ADD_FAILURE() << "creation " << i << " failed";
      return;
    }
    Library().destroy(kind.objectId, static_cast<IKxBaseInterface*>(result));
  }
}

void CreateOnThreads(int threads, int creationsEach) {
  std::vector<std::thread> running;
  for (int i = 0; i < threads; ++i) {
    running.emplace_back(CreateAndDestroy, creationsEach);
  }
  for (std::thread& thread : running) {
    thread.join();
  }
}

#ifdef __aarch64__
constexpr int kCreationsEach = 1000;  // the processor is emulated
#else
constexpr int kCreationsEach = 10000;
#endif

TEST(Factory, EightThreads_CreateMixedObjectsAndLeakNoMemoryAndNoHandle) {
  CreateOnThreads(8, 10);  // what the runtime sets up once for each thread is not a leak
  const Cifra::Test::HandleWatch handles;
  const Cifra::Test::CountedHeap heap;
  CreateOnThreads(8, kCreationsEach);
  EXPECT_EQ(0, heap.LiveBlocks());
  EXPECT_TRUE(handles.FindsNoLeak());
}

}  // namespace

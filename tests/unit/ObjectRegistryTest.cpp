#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Cifra/Factory.h"
#include "Cifra/ResultCodes.h"
#include "framework/ExportedObjectDeclaration.h"
#include "framework/ObjectRegistry.h"
#include "support/ChildProcess.h"
#include "support/ImportPatch.h"

namespace {

class TestObject final : public IKxBaseInterface {
 public:
  void* QueryInterface(const InterfaceId&) override { return nullptr; }
};

// Creates always the same object and remembers which one it was asked to destroy.
class TestConstructor final : public IObjectConstructor {
 public:
  IKxBaseInterface* Create() override { return &object; }
  void Destroy(IKxBaseInterface* destroyed) override { lastDestroyed = destroyed; }
  int Reserved() override { return 0; }

  TestObject object;
  IKxBaseInterface* lastDestroyed = nullptr;
};

TEST(ObjectRegistry, Register_OfATakenIdentifier_KeepsTheFirst) {
  ObjectRegistry registry;
  TestConstructor first;
  TestConstructor second;
  EXPECT_EQ(kCifraSuccess, registry.Register(L"id", &first));
  EXPECT_EQ(kCifraAlreadyExists, registry.Register(L"id", &second));
  EXPECT_EQ(&first.object, registry.Create(L"id"));
}

TEST(ObjectRegistry, Unregister_RemovesOnlyTheIdentifierGiven) {
  ObjectRegistry registry;
  TestConstructor constructor;
  registry.Register(L"id", &constructor);
  registry.Unregister(L"ID");
  registry.Unregister(L"i");
  EXPECT_EQ(&constructor.object, registry.Create(L"id"));
  registry.Unregister(L"id");
  EXPECT_EQ(nullptr, registry.Create(L"id"));
}

TEST(ObjectRegistry, DestroyById_AsksTheIdentifiersConstructorOnly) {
  ObjectRegistry registry;
  TestConstructor one;
  TestConstructor other;
  registry.Register(L"one", &one);
  registry.Register(L"other", &other);
  registry.DestroyById(L"one", &one.object);
  registry.DestroyById(L"unknown", &other.object);
  EXPECT_EQ(&one.object, one.lastDestroyed);
  EXPECT_EQ(nullptr, other.lastDestroyed);
}

// Creates a further object while its own is being created.
class NestingConstructor final : public IObjectConstructor {
 public:
  explicit NestingConstructor(ObjectRegistry& outer) : registry(outer) {}
  IKxBaseInterface* Create() override { return registry.Create(L"inner"); }
  void Destroy(IKxBaseInterface*) override {}
  int Reserved() override { return 0; }

 private:
  ObjectRegistry& registry;
};

TEST(ObjectRegistry, Create_MayBeReenteredByTheThreadThatHoldsTheLock) {
  ObjectRegistry registry;
  TestConstructor inner;
  NestingConstructor outer(registry);
  registry.Register(L"inner", &inner);
  registry.Register(L"outer", &outer);
  EXPECT_EQ(&inner.object, registry.Create(L"outer"));
}

TEST(RegistryRef, AfterTheLastRelease_TheNextAcquireBuildsANewEmptyRegistry) {
  TestConstructor constructor;
  RegistryRef first;
  AcquireRegistry(first);
  first->Register(L"id", &constructor);
  EXPECT_TRUE(kx::sharedInstance<ObjectRegistry>.HasUsers());
  ReleaseRegistry(first);
  EXPECT_FALSE(kx::sharedInstance<ObjectRegistry>.HasUsers());

  RegistryRef second;
  AcquireRegistry(second);
  EXPECT_EQ(nullptr, second->Create(L"id"));
}

TEST(RegistryRef, OfSeveralHolders_AllSeeOneRegistryUntilTheLastReleases) {
  TestConstructor constructor;
  RegistryRef first;
  RegistryRef second;
  AcquireRegistry(first);
  AcquireRegistry(second);
  first->Register(L"id", &constructor);
  ReleaseRegistry(first);
  EXPECT_EQ(&constructor.object, second->Create(L"id"));
}

TEST(RegistryRef, Release_GivesBackEveryReferenceTheHolderOwns) {
  RegistryRef ref;
  AcquireRegistry(ref);
  AcquireRegistry(ref);
  ReleaseRegistry(ref);
  EXPECT_FALSE(kx::sharedInstance<ObjectRegistry>.HasUsers());
  ReleaseRegistry(ref);  // an empty handle gives nothing back
  AcquireRegistry(ref);
  EXPECT_TRUE(kx::sharedInstance<ObjectRegistry>.HasUsers());
}

TEST(RegistryRef, OnEightThreads_AcquireAndReleaseInBalance) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 200; ++round) {
        RegistryRef ref;
        AcquireRegistry(ref);
        ref->DestroyById(L"unknown", nullptr);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_FALSE(kx::sharedInstance<ObjectRegistry>.HasUsers());
}

// A class that counts its living objects. The number distinguishes two such classes.
template <int number>
class CountedObject final : public IKxBaseInterface {
 public:
  CountedObject() { ++alive; }
  ~CountedObject() { --alive; }
  void* QueryInterface(const InterfaceId& iid) override {
    return iid == kInterfaceId ? static_cast<IKxBaseInterface*>(this) : nullptr;
  }

  static inline int alive = 0;
};

using FirstObject = CountedObject<1>;
using SecondObject = CountedObject<2>;

bool Knows(const wchar_t* objectId) {
  RegistryRef registry;
  IKxBaseInterface* object = registry->Create(objectId);
  registry->DestroyById(objectId, object);
  return object != nullptr;
}

TEST(ExportedObjectDeclaration, RegistersItsClassForAsLongAsItLives) {
  const ExportedObjectDeclaration<FirstObject> holdsTheRegistry(L"first");
  {
    const ExportedObjectDeclaration<SecondObject> declaration(L"second");
    EXPECT_TRUE(Knows(L"second"));
  }
  EXPECT_FALSE(Knows(L"second"));
  EXPECT_TRUE(Knows(L"first"));
}

TEST(ExportedObjectDeclaration, FirstOneBuildsTheRegistryAndLastOneDestroysIt) {
  EXPECT_FALSE(kx::sharedInstance<ObjectRegistry>.HasUsers());
  {
    const ExportedObjectDeclaration<FirstObject> first(L"first");
    {
      const ExportedObjectDeclaration<SecondObject> second(L"second");
    }
    EXPECT_TRUE(kx::sharedInstance<ObjectRegistry>.HasUsers());
  }
  EXPECT_FALSE(kx::sharedInstance<ObjectRegistry>.HasUsers());
}

TEST(ExportedObjectDeclaration, OfATakenIdentifier_IsIgnored) {
  const ExportedObjectDeclaration<FirstObject> first(L"id");
  const ExportedObjectDeclaration<SecondObject> second(L"id");
  RegistryRef registry;
  IKxBaseInterface* object = registry->Create(L"id");
  EXPECT_NE(nullptr, dynamic_cast<FirstObject*>(object));
  registry->DestroyById(L"id", object);
  EXPECT_EQ(0, FirstObject::alive);
}

TEST(ExportedObjectDeclaration, EndOfAnIgnoredOne_TakesTheFirstOnesIdentifierAway) {
  const ExportedObjectDeclaration<FirstObject> first(L"id");
  {
    const ExportedObjectDeclaration<SecondObject> ignored(L"id");
    EXPECT_TRUE(Knows(L"id"));
  }
  EXPECT_FALSE(Knows(L"id"));
}

TEST(ExportedObjectDeclaration, OfAString_RegistersItsText) {
  const ExportedObjectDeclaration<FirstObject> declaration(kx::StringT<wchar_t>(L"id"));
  EXPECT_TRUE(Knows(L"id"));
}

TEST(ExportedObjectDeclaration, Create_MakesANewObjectEachTime_AndDestroyEndsIt) {
  ExportedObjectDeclaration<FirstObject> declaration(L"id");
  IKxBaseInterface* one = declaration.Create();
  IKxBaseInterface* other = declaration.Create();
  EXPECT_NE(one, other);
  EXPECT_EQ(2, FirstObject::alive);
  declaration.Destroy(one);
  declaration.Destroy(other);
  EXPECT_EQ(0, FirstObject::alive);
}

TEST(ExportedObjectDeclaration, Destroy_OfAnotherClassesObject_DoesNothing) {
  ExportedObjectDeclaration<FirstObject> first(L"first");
  ExportedObjectDeclaration<SecondObject> second(L"second");
  IKxBaseInterface* object = first.Create();
  second.Destroy(object);
  second.Destroy(nullptr);
  EXPECT_EQ(1, FirstObject::alive);
  EXPECT_EQ(0, SecondObject::alive);
  first.Destroy(object);
}

// Has another thread use the factory while it is asked for kAsked.
constexpr InterfaceId kAsked{1, 2, 3, {4}};

class AskingObject final : public IKxBaseInterface {
 public:
  void* QueryInterface(const InterfaceId& iid) override {
    if (iid == kAsked) {
      std::atomic<bool> isDone{false};
      std::thread other([&] {
        KxDestroyObject(L"unknown", nullptr);
        isDone = true;
      });
      for (int i = 0; i < 500 && !isDone; ++i) {
        Sleep(10);
      }
      wasFactoryFree = isDone;
      other.detach();
    }
    return static_cast<IKxBaseInterface*>(this);
  }

  static inline bool wasFactoryFree = false;
};

TEST(Factory, QueryInterfaceOfANewObject_RunsOutsideTheRegistrysLock) {
  const ExportedObjectDeclaration<AskingObject> declaration(L"asking");
  void* created = nullptr;
  ASSERT_EQ(kCifraSuccess, KxCreateObject(L"asking", &kAsked, &created));
  EXPECT_TRUE(AskingObject::wasFactoryFree);
  KxDestroyObject(L"asking", static_cast<IKxBaseInterface*>(created));
}

TEST(ExportedObjectDeclaration, Reserved_GivesZero) {
  ExportedObjectDeclaration<FirstObject> declaration(L"id");
  EXPECT_EQ(0, declaration.Reserved());
}

// Replaces malloc. The runtime still needs memory to throw the exception.
bool hasFailed = false;
void* FailOnce(std::size_t bytes) {
  return std::exchange(hasFailed, true) ? std::calloc(1, bytes) : nullptr;
}

const Cifra::Test::ChildAction kDeclareWithoutMemory(
    L"DeclareWithoutMemory", [](const auto& arguments) {
      const Cifra::Test::ImportPatch patch(GetModuleHandleW(nullptr), "malloc", &FailOnce);
      const ExportedObjectDeclaration<FirstObject> declaration(arguments[0].c_str());
      return 0;
    });

TEST(ExportedObjectDeclaration, ThatCannotBeMade_EndsTheProcessSilently) {
  // The second declaration's identifier needs no memory, but the registry does.
  for (const std::wstring& objectId : {std::wstring(100, L'i'), std::wstring(L"id")}) {
    const Cifra::Test::ChildResult child =
        Cifra::Test::RunChild(L"DeclareWithoutMemory", {objectId});
    EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << objectId.size();
    EXPECT_EQ("", child.output) << objectId.size();
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Cifra/ResultCodes.h"
#include "framework/ObjectRegistry.h"

namespace {

class TestObject final : public IKxBaseInterface {
 public:
  void* QueryInterface(const InterfaceId&) override { return nullptr; }
};

// Hands out one object and remembers what it was asked to destroy.
class TestConstructor final : public IObjectConstructor {
 public:
  IKxBaseInterface* Create() override { return &object; }
  void Destroy(IKxBaseInterface* destroyed) override { lastDestroyed = destroyed; }
  int Reserved() override { return 0; }

  TestObject object;
  IKxBaseInterface* lastDestroyed = nullptr;
};

TEST(ObjectRegistry, Register_OfATakenIdentifier_GivesAlreadyExistsAndKeepsTheFirst) {
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

}  // namespace

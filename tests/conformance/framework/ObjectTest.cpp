// The owner types of the public headers, as a caller uses them.
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

#include "Cifra/Library.h"
#include "Cifra/Object.h"
#include "support/ChildProcess.h"
#include "support/LibraryUnderTest.h"
#include "support/ProgramArguments.h"

namespace Cifra::Test {
namespace {

std::wstring BesideThisProgram(const wchar_t* fileName) {
  return (ProgramFile().parent_path() / fileName).wstring();
}

std::wstring LoadedLibrary() { return FileUnderTest().wstring(); }

template <typename Interface>
bool CanBeMade(const Cifra::Library& library) {
  const Cifra::Object<Interface> object(library);
  return object && object.Get() && object.Base() && object.Result() == kCifraSuccess;
}

TEST(ObjectTest, EveryInterfaceNamesAnObjectThatHasIt) {
  const Cifra::Library library(LoadedLibrary());
  ASSERT_TRUE(library);
  EXPECT_EQ(DWORD{ERROR_SUCCESS}, library.Error());
  EXPECT_TRUE(CanBeMade<IBase64>(library));
  EXPECT_TRUE(CanBeMade<IBlowfish>(library));
  EXPECT_TRUE(CanBeMade<IBlowfishAndBase64>(library));
  EXPECT_TRUE(CanBeMade<IDigitalSignature>(library));
  EXPECT_TRUE(CanBeMade<IMd5>(library));
  EXPECT_TRUE(CanBeMade<ISha256>(library));
}

TEST(ObjectTest, TheTwoHashesGiveDigestsOfTheirOwnLength) {
  const Cifra::Library library(LoadedLibrary());
  kx::StringT<wchar_t> md5;
  kx::StringT<wchar_t> sha256;
  Cifra::Object<IMd5>(library)->GetHashString(md5);
  Cifra::Object<ISha256>(library)->GetHashString(sha256);
  EXPECT_EQ(2 * IMd5::kDigestBytes, md5.Length());
  EXPECT_EQ(2 * ISha256::kDigestBytes, sha256.Length());
}

TEST(ObjectTest, WithoutALibraryThereIsNoObject) {
  const Cifra::Library library(BesideThisProgram(L"no such.dll"));
  EXPECT_FALSE(library);
  EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, library.Error());
  EXPECT_EQ(nullptr, library.MissingExport());
  const Cifra::Object<IMd5> object(library);
  EXPECT_FALSE(object);
  EXPECT_EQ(nullptr, object.Get());
  EXPECT_EQ(std::uint32_t{kCifraNotFound}, object.Result());
}

// Counts what a factory is asked for.
int made = 0;
int destroyed = 0;
std::uint32_t CountedCreate(const wchar_t* id, const InterfaceId* iid, void** result) {
  ++made;
  return Test::Library().create(id, iid, result);
}
void CountedDestroy(const wchar_t* id, IKxBaseInterface* object) {
  ++destroyed;
  Test::Library().destroy(id, object);
}

TEST(ObjectTest, AnObjectThatMovesIsDestroyedOnce) {
  static_assert(!std::is_copy_constructible_v<Cifra::Object<IMd5>>);
  static_assert(!std::is_copy_assignable_v<Cifra::Object<IMd5>>);
  const ObjectFactory factory{CountedCreate, CountedDestroy};
  made = destroyed = 0;
  {
    Cifra::Object<IMd5> first(factory);
    Cifra::Object<IMd5> second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): what is left is what this shows
    EXPECT_TRUE(second);
    Cifra::Object<IMd5> third(factory);
    third = std::move(second);
    EXPECT_TRUE(third);
    EXPECT_EQ(2, made);
  }
  EXPECT_EQ(2, destroyed);
}

TEST(LibraryTest, APathThatIsNotFullIsRefused) {
  const Cifra::Library library(L"Cifra.dll");
  EXPECT_FALSE(library);
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, library.Error());
}

TEST(LibraryTest, AFileWithoutTheExportsIsRefusedAndUnloaded) {
  const Cifra::Library library(BesideThisProgram(L"OtherCifraWithoutDestroy.dll"));
  EXPECT_FALSE(library);
  EXPECT_EQ(DWORD{ERROR_PROC_NOT_FOUND}, library.Error());
  EXPECT_STREQ("KxDestroyObject", library.MissingExport());
  EXPECT_EQ(nullptr, library.create);
  EXPECT_EQ(nullptr, GetModuleHandleW(L"OtherCifraWithoutDestroy.dll"));
}

TEST(LibraryTest, BesideTheProgramIsTheProgramsOwnFolder) {
  const Cifra::Library library = Cifra::Library::BesideProgram(L"OtherCifraWithoutDestroy.dll");
  EXPECT_EQ(DWORD{ERROR_PROC_NOT_FOUND}, library.Error());
}

TEST(LibraryTest, ResolvesTheFourFunctions) {
  const Cifra::Library library(LoadedLibrary());
  ASSERT_TRUE(library);
  char text[64];
  char digest[33];
  EXPECT_EQ(std::uint32_t{kCifraSuccess}, library.encodeText("text", "key", text, sizeof(text)));
  EXPECT_EQ(std::uint32_t{kCifraSuccess}, library.decodeText(text, "key", text, sizeof(text)));
  EXPECT_STREQ("text", text);
  EXPECT_EQ(std::uint32_t{kCifraSuccess}, library.textMd5("", digest));
  EXPECT_STREQ("d41d8cd98f00b204e9800998ecf8427e", digest);
  EXPECT_EQ(std::uint32_t{kCifraSuccess}, library.wideTextMd5(L"", digest));
  EXPECT_STREQ("d41d8cd98f00b204e9800998ecf8427e", digest);
}

// In processes of their own, where nothing else holds the library.
const ChildAction kUseAStringWithoutTheLibrary(L"UseAStringWithoutTheLibrary", [](const auto&) {
  kx::StringT<wchar_t> digest;
  {
    const Cifra::Library library(LoadedLibrary());
    Cifra::Object<ISha256>(library)->GetHashString(digest);
  }
  return digest.Length() == 2 * ISha256::kDigestBytes ? 0 : 1;
});

TEST(LibraryTest, AStringMayOutliveTheLibraryThatFilledIt) {
  EXPECT_EQ(0U, RunChild(L"UseAStringWithoutTheLibrary").exitCode);
}

const ChildAction kUnload(L"Unload", [](const auto&) {
  Cifra::Library library(LoadedLibrary());
  if (!library || !GetModuleHandleW(L"Cifra.dll")) {
    return 2;
  }
  library.Unload();
  return library || library.create || GetModuleHandleW(L"Cifra.dll") ? 1 : 0;
});

TEST(LibraryTest, UnloadLeavesNeitherModuleNorFunctions) {
  EXPECT_EQ(0U, RunChild(L"Unload").exitCode);
}

}  // namespace
}  // namespace Cifra::Test

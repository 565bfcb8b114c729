#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"
#include "support/ProgramArguments.h"
#include "support/TempDirectory.h"

// Where the library looks for its own file. Each test arranges files in its own directories and
// Where the library looks for its own file. Each test arranges files in its own directories and
// Where the library looks for its own file. Each test arranges files in its own directories and
// runs a copy of this program there as the host.
namespace {

namespace fs = std::filesystem;
using Cifra::Test::ChildResult;
using Cifra::Test::ImportPatch;
using Cifra::Test::Library;

// The library's calls of the system loader, in order.
std::vector<std::string> loaderCalls;

std::string Utf8(const wchar_t* text) {
  char buffer[2048] = {};
  WideCharToMultiByte(CP_UTF8, 0, text, -1, buffer, sizeof(buffer), nullptr, nullptr);
  return buffer;
}

HMODULE WINAPI RecordLoad(LPCWSTR file, HANDLE reserved, DWORD flags) {
  char flagsText[16];
  std::snprintf(flagsText, sizeof(flagsText), "%lx ", flags);
  loaderCalls.push_back("load " + (flagsText + Utf8(file)));
  return LoadLibraryExW(file, reserved, flags);
}

// The host: loads the library from the given file, encodes a text with it, and prints the result,
// the text and every load that the library attempted, one per line.
const Cifra::Test::ChildAction kEncodeAsHost(L"EncodeAsHost", [](const auto& arguments) {
  const Cifra::Library library = Cifra::Test::LoadCifra(arguments[0]);
  const ImportPatch patch(library.Module(), "LoadLibraryExW", &RecordLoad);
  char text[64] = "";
  const std::uint32_t result = library.encodeText("text", "key", text, sizeof(text));
  std::printf("%u %s\n", static_cast<unsigned>(result), text);
  for (const std::string& call : loaderCalls) {
    std::printf("%s\n", call.c_str());
  }
  // The library was loaded from elsewhere and must have freed what it loaded from here.
  const fs::path inHostDirectory = Cifra::Test::ProgramFile().parent_path() / L"Cifra.dll";
  return GetModuleHandleW(inHostDirectory.c_str()) ? 1 : 0;
});

constexpr char kFound[] = "0 lBtnttaLccY=";
constexpr char kNotFound[] = "1168 ";

class ModuleLoader : public testing::Test {
 protected:
  ModuleLoader() : host(directory / L"host" / L"host.exe"), library(directory / L"library") {
    fs::create_directories(host.parent_path());
    fs::create_directories(library);
    fs::copy_file(Cifra::Test::ProgramFile(), host);
  }

  fs::path PutLibrary(const fs::path& file) {
    fs::copy_file(Cifra::Test::FileUnderTest(), file);
    return file;
  }
  void PutStandIn(const wchar_t* name, const fs::path& file) {
    fs::copy_file(Cifra::Test::ProgramFile().parent_path() / name, file);
  }
  std::vector<std::string> Encode(const fs::path& loadedFrom) {
    const ChildResult child = Cifra::Test::RunChild(L"EncodeAsHost", {loadedFrom.wstring()}, host);
    EXPECT_EQ(0u, child.exitCode) << child.output;
    return child.Lines();
  }
  static std::string Load(const fs::path& file) { return "load 1100 " + Utf8(file.c_str()); }

  Cifra::Test::TempDirectory directory;
  const fs::path host;
  const fs::path library;
};

TEST_F(ModuleLoader, LibraryInTheHostsDirectory_IsLoadedFirst) {
  const fs::path own = PutLibrary(library / L"Cifra.dll");
  const fs::path inHostDirectory = PutLibrary(host.parent_path() / L"Cifra.dll");
  const std::vector<std::string> lines = Encode(own);
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ(kFound, lines[0]);
  EXPECT_EQ(Load(inHostDirectory), lines[1]);
}

TEST_F(ModuleLoader, LibraryOnlyInItsOwnDirectory_IsLoadedFromThere) {
  const fs::path own = PutLibrary(library / L"Cifra.dll");
  const fs::path inHostDirectory = host.parent_path() / L"Cifra.dll";
  // The function loads the combined object's library, and that object those of its two parts.
  const std::vector<std::string> expected = {
      kFound,    Load(inHostDirectory), Load(own), Load(inHostDirectory),
      Load(own), Load(inHostDirectory), Load(own)};
  EXPECT_EQ(expected, Encode(own));
}

TEST_F(ModuleLoader, AnotherCifraInTheHostsDirectory_ReplacesTheRunningOne) {
  PutStandIn(L"OtherCifra.dll", host.parent_path() / L"Cifra.dll");
  const std::vector<std::string> lines = Encode(PutLibrary(library / L"Cifra.dll"));
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ("0 made by another library", lines[0]);
}

TEST_F(ModuleLoader, LibraryWithoutAFactoryExport_GivesNotFoundAndIsFreed) {
  PutStandIn(L"OtherCifraWithoutDestroy.dll", host.parent_path() / L"Cifra.dll");
  const std::vector<std::string> lines = Encode(PutLibrary(library / L"Cifra.dll"));
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ(kNotFound, lines[0]);
}

TEST_F(ModuleLoader, InvalidFileInTheHostsDirectory_IsSkipped) {
  std::ofstream(host.parent_path() / L"Cifra.dll") << "no library";
  const fs::path own = PutLibrary(library / L"Cifra.dll");
  EXPECT_EQ(kFound, Encode(own).front());
}

TEST_F(ModuleLoader, NoLibraryOfThatName_GivesNotFound) {
  const fs::path renamed = PutLibrary(library / L"Renamed.dll");
  const std::vector<std::string> expected = {kNotFound, Load(host.parent_path() / L"Cifra.dll"),
                                             Load(library / L"Cifra.dll")};
  EXPECT_EQ(expected, Encode(renamed));
}

TEST_F(ModuleLoader, LibraryInADirectoryWithOtherThanAsciiCharacters_IsFound) {
  const fs::path own = library / L"\u0416\u00E9 \u20AC";
  fs::create_directories(own);
  EXPECT_EQ(kFound, Encode(PutLibrary(own / L"Cifra.dll")).front());
}

TEST_F(ModuleLoader, LibraryPathOfMoreThan260Characters_IsNotSearched) {
  // Paths of that length need the prefix that lifts the limit.
  const std::wstring longName(120, L'd');
  const fs::path deep = L"\\\\?\\" + (library / longName / longName).wstring();
  CreateDirectoryW(deep.parent_path().c_str(), nullptr);
  ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
  const fs::path own = deep / L"Cifra.dll";
  ASSERT_GT(own.wstring().size(), 264u);
  ASSERT_TRUE(CopyFileW(Cifra::Test::FileUnderTest().c_str(), own.c_str(), TRUE));
  EXPECT_EQ(kNotFound, Encode(own).front());
  PutLibrary(host.parent_path() / L"Cifra.dll");
  EXPECT_EQ(kFound, Encode(own).front());
  DeleteFileW(own.c_str());
}

// The tests below watch the library's calls in this process.

std::vector<std::string> calls;
DWORD loadFlags = 0;

HMODULE WINAPI RecordFlags(LPCWSTR file, HANDLE reserved, DWORD flags) {
  loadFlags = flags;
  // The flags of older systems find the file as well.
  return LoadLibraryExW(file, reserved, flags);
}

FARPROC WINAPI OnAnOlderSystem(HMODULE module, LPCSTR name) {
  return std::string(name) == "SetDefaultDllDirectories" ? nullptr : GetProcAddress(module, name);
}

TEST(ModuleLoaderFlags, KnowTheSafeSearch_OnSystemsThatHaveIt) {
  const ImportPatch patch(Library().Module(), "LoadLibraryExW", &RecordFlags);
  char text[64];
  EXPECT_EQ(kCifraSuccess, Library().encodeText("text", "key", text, sizeof(text)));
  EXPECT_EQ(0x1100u, loadFlags);
}

TEST(ModuleLoaderFlags, AlterTheSearchPath_OnSystemsWithoutSetDefaultDllDirectories) {
  const ImportPatch load(Library().Module(), "LoadLibraryExW", &RecordFlags);
  const ImportPatch find(Library().Module(), "GetProcAddress", &OnAnOlderSystem);
  char text[64];
  EXPECT_EQ(kCifraSuccess, Library().encodeText("text", "key", text, sizeof(text)));
  EXPECT_EQ(0x8u, loadFlags);
}

// The path of the host program that the library gets.
std::wstring hostPath;

// Like older versions of the platform, this does not terminate a truncated path.
DWORD WINAPI GiveHostPath(HMODULE module, LPWSTR text, DWORD size) {
  if (module) {
    return GetModuleFileNameW(module, text, size);
  }
  const std::size_t count = std::min<std::size_t>(hostPath.size() + 1, size);
  std::copy_n(hostPath.c_str(), count, text);
  return static_cast<DWORD>(std::min<std::size_t>(hostPath.size(), size));
}

// Returns the paths at which the library looks for itself if the host's path has this length.
std::vector<std::string> PathsTriedUnderAHostPathOf(std::size_t length) {
  hostPath = L"C:\\" + std::wstring(length - 3 - 6, L'd') + L"\\h.exe";
  EXPECT_EQ(length, hostPath.size());
  const ImportPatch name(Library().Module(), "GetModuleFileNameW", &GiveHostPath);
  const ImportPatch load(Library().Module(), "LoadLibraryExW", &RecordLoad);
  loaderCalls.clear();
  char text[64];
  EXPECT_EQ(kCifraSuccess, Library().encodeText("text", "key", text, sizeof(text)));
  return loaderCalls;
}

std::string LoadFrom(const std::wstring& directory) {
  return "load 1100 " + Utf8((directory + L"\\Cifra.dll").c_str());
}

TEST(ModuleLoaderHostPath, OfUpTo259Characters_LeadsToItsDirectory) {
  // From 257 characters on, the file's path exceeds the fixed buffer of 260.
  for (const std::size_t length : {250u, 256u, 257u, 259u}) {
    const std::vector<std::string> tried = PathsTriedUnderAHostPathOf(length);
    ASSERT_LE(2u, tried.size()) << length;
    EXPECT_EQ(LoadFrom(hostPath.substr(0, length - 6)), tried[0]);
    EXPECT_EQ(LoadFrom(Cifra::Test::FileUnderTest().parent_path().wstring()), tried[1]);
  }
}

TEST(ModuleLoaderHostPath, Of260CharactersOrMore_LeadsNowhere) {
  for (const std::size_t length : {260u, 261u, 300u}) {
    const std::vector<std::string> tried = PathsTriedUnderAHostPathOf(length);
    ASSERT_LE(2u, tried.size()) << length;
    EXPECT_EQ(LoadFrom(hostPath.substr(0, 260)), tried[0]);
  }
}

BOOL WINAPI SayAbsolute(LPCWSTR) { return FALSE; }

TEST(ModuleLoaderPath, ThatIsNotRelative_IsLoadedAsItIsAndNothingElse) {
  const ImportPatch isRelative(Library().Module(), "PathIsRelativeW", &SayAbsolute);
  const ImportPatch load(Library().Module(), "LoadLibraryExW", &RecordLoad);
  loaderCalls.clear();
  char text[64];
  Library().encodeText("text", "key", text, sizeof(text));
  ASSERT_LE(1u, loaderCalls.size());
  for (const std::string& call : loaderCalls) {
    EXPECT_EQ("load 1100 Cifra.dll", call);
  }
}

DWORD WINAPI FailAndLeaveGarbage(HMODULE, LPWSTR text, DWORD room) {
  std::fill_n(text, room, L'?');
  return 0;
}

TEST(ModuleLoaderPath, ThatCannotBeTold_LeavesTheBareFileName) {
  const ImportPatch name(Library().Module(), "GetModuleFileNameW", &FailAndLeaveGarbage);
  const ImportPatch load(Library().Module(), "LoadLibraryExW", &RecordLoad);
  loaderCalls.clear();
  char text[64];
  EXPECT_EQ(kCifraNotFound, Library().encodeText("text", "key", text, sizeof(text)));
  EXPECT_EQ((std::vector<std::string>{"load 1100 Cifra.dll", "load 1100 Cifra.dll"}), loaderCalls);
}

KxCreateObjectFunction* realCreate = nullptr;
KxDestroyObjectFunction* realDestroy = nullptr;
std::map<std::string, const void*> objectsByName;

std::uint32_t RecordCreate(const wchar_t* objectId, const InterfaceId* iid, void** result) {
  EXPECT_EQ(IKxBaseInterface::kInterfaceId, *iid);
  const std::uint32_t code = realCreate(objectId, iid, result);
  objectsByName[Utf8(objectId)] = *result;
  return code;
}

void RecordDestroy(const wchar_t* objectId, IKxBaseInterface* object) {
  EXPECT_EQ(objectsByName[Utf8(objectId)], object);
  calls.push_back("destroy " + Utf8(objectId));
  realDestroy(objectId, object);
}

// What GetProcAddress returns instead of the library's exports.
std::map<std::string, void*> replacements;

FARPROC WINAPI FindReplaced(HMODULE module, LPCSTR name) {
  const auto found = replacements.find(name);
  if (found == replacements.end()) {
    return GetProcAddress(module, name);
  }
  calls.push_back(std::string("find ") + name);
  return reinterpret_cast<FARPROC>(found->second);
}

BOOL WINAPI RecordFree(HMODULE module) {
  calls.push_back("free");
  return FreeLibrary(module);
}

DWORD WINAPI RecordLastError() {
  calls.push_back("last error");
  return GetLastError();
}

HMODULE WINAPI RecordAndLoadNothing(LPCWSTR, HANDLE, DWORD) {
  calls.push_back("load");
  return nullptr;
}

// Calls a function that needs an object while the exports are replaced; returns the recorded calls.
std::vector<std::string> CallsWith(std::map<std::string, void*> exports,
                                   std::uint32_t expectedResult) {
  replacements = std::move(exports);
  const ImportPatch find(Library().Module(), "GetProcAddress", &FindReplaced);
  const ImportPatch free(Library().Module(), "FreeLibrary", &RecordFree);
  const ImportPatch lastError(Library().Module(), "GetLastError", &RecordLastError);
  calls.clear();
  char text[64];
  EXPECT_EQ(expectedResult, Library().encodeText("text", "key", text, sizeof(text)));
  return calls;
}

template <typename Function>
void* Address(Function* function) {
  return reinterpret_cast<void*>(function);
}

using Calls = std::vector<std::string>;

TEST(ModuleLoaderRelease, OfAnObject_DestroysItAndThenFreesTheLibrary) {
  realCreate = Library().create;
  realDestroy = Library().destroy;
  EXPECT_EQ((Calls{"find KxCreateObject", "find KxDestroyObject", "find KxCreateObject",
                   "find KxDestroyObject", "find KxCreateObject", "find KxDestroyObject",
                   "destroy Cifra.BowfishAndBase64", "destroy Cifra.Base64", "free",
                   "destroy Cifra.Blowfish", "free", "free"}),
            CallsWith({{"KxCreateObject", Address(&RecordCreate)},
                       {"KxDestroyObject", Address(&RecordDestroy)}},
                      kCifraSuccess));
}

TEST(ModuleLoaderRelease, WithoutKxCreateObject_AsksForTheErrorAndFreesTheLibrary) {
  EXPECT_EQ((Calls{"find KxCreateObject", "last error", "free"}),
            CallsWith({{"KxCreateObject", nullptr}, {"KxDestroyObject", nullptr}}, kCifraNotFound));
}

TEST(ModuleLoaderRelease, WithoutKxDestroyObject_AsksForTheErrorAndCreatesNothing) {
  EXPECT_EQ((Calls{"find KxDestroyObject", "last error", "free"}),
            CallsWith({{"KxDestroyObject", nullptr}}, kCifraNotFound));
}

TEST(ModuleLoaderRelease, WithoutTheLibrary_AsksForTheErrorAndFreesNothing) {
  const ImportPatch load(Library().Module(), "LoadLibraryExW", &RecordAndLoadNothing);
  EXPECT_EQ((Calls{"load", "load", "last error"}), CallsWith({}, kCifraNotFound));
}

// An object without the requested interface.
class BareObject final : public IKxBaseInterface {
 public:
  void* QueryInterface(const InterfaceId&) override {
    calls.push_back("query");
    return nullptr;
  }
};
BareObject bareObject;

std::uint32_t CreateBare(const wchar_t*, const InterfaceId*, void** result) {
  calls.push_back("create");
  *result = static_cast<IKxBaseInterface*>(&bareObject);
  return kCifraSuccess;
}

void DestroyBare(const wchar_t* objectId, IKxBaseInterface* object) {
  EXPECT_EQ(&bareObject, object);
  calls.push_back("destroy " + Utf8(objectId));
}

TEST(ModuleLoaderRelease, OfAnObjectWithoutTheInterface_DestroysItToo) {
  EXPECT_EQ((Calls{"find KxCreateObject", "find KxDestroyObject", "create", "query",
                   "destroy Cifra.BowfishAndBase64", "free"}),
            CallsWith({{"KxCreateObject", Address(&CreateBare)},
                       {"KxDestroyObject", Address(&DestroyBare)}},
                      kCifraNotFound));
}

std::uint32_t CreateNothing(const wchar_t*, const InterfaceId*, void** result) {
  *result = nullptr;
  return kCifraNotFound;
}

TEST(ModuleLoaderRelease, WithoutAnObject_FreesTheLibraryAndDestroysNothing) {
  EXPECT_EQ((Calls{"find KxCreateObject", "find KxDestroyObject", "free"}),
            CallsWith({{"KxCreateObject", Address(&CreateNothing)},
                       {"KxDestroyObject", Address(&DestroyBare)}},
                      kCifraNotFound));
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <thread>

#include "LogRecord.h"
#include "foundation/ModuleHandle.h"
#include "hash/HashData.h"
#include "log/LogHost.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

// The library's use of log.dll, as log.dll sees it.
namespace {

namespace fs = std::filesystem;
using Cifra::Object;
using Cifra::Test::ChildAction;
using Cifra::Test::FileUnderTest;
using Cifra::Test::ImportPatch;
using Cifra::Test::kLogBegins;
using Cifra::Test::kLogEnds;
using Cifra::Test::kLogIsGone;
using Cifra::Test::kLogIsLoaded;
using Cifra::Test::LoadCifra;
using Cifra::Test::LogHost;
using Cifra::Test::operator+;
using Lines = std::vector<std::string>;
using Md5 = Object<Cifra::IMd5>;
using Sha256 = Object<Cifra::ISha256>;

const std::string kMd5HashFile = Cifra::Test::Md5Kind::kHashFileName;
const std::string kSha256HashFile = Cifra::Test::Sha256Kind::kHashFileName;

std::string Write(int level, const std::string& function, const std::string& text) {
  return "LogWrite 0 " + std::to_string(level) + " " + function + ": " + text;
}

// Hashes a file; the result is printed as a line "= RESULT DIGEST".
template <typename Hash>
void HashFile(const Object<Hash>& hash, const fs::path& path) {
  kx::StringT<wchar_t> digest;
  const std::uint32_t result = hash->HashFile(path.c_str(), digest);
  std::printf("= %u %s\n", static_cast<unsigned>(result), Cifra::Test::Narrow(digest).c_str());
}

constexpr char kEmptyMd5[] = "= 0 D41D8CD98F00B204E9800998ECF8427E";

class LogLibrary : public testing::Test {
 protected:
  LogLibrary() : emptyFile(host.Directory() / "empty") {
    host.PutLibrary();
    std::ofstream{emptyFile};
  }

  LogHost host;
  const fs::path emptyFile;
};

// Each scenario is an action of the host and the test that runs it.

const ChildAction kOneObject(L"OneObject", [](const auto& arguments) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  const wchar_t* const id = arguments[0].c_str();
  void* object = nullptr;
  library.create(id, &IKxBaseInterface::kInterfaceId, &object);
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  library.destroy(id, static_cast<IKxBaseInterface*>(object));
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
});

TEST_F(LogLibrary, OneObject_LoadsAndInitialisesTheLogAndUnloadsItInOrder) {
  host.PutLog();
  for (const std::wstring id :
       {Cifra::kMd5ObjectId, Cifra::kSha256ObjectId, Cifra::kDigitalSignatureObjectId}) {
    EXPECT_EQ(kLogBegins + Lines{kLogIsLoaded} + kLogEnds + Lines{kLogIsGone},
              host.Run(L"OneObject", {id}))
        << std::filesystem::path(id);
  }
}

const ChildAction kOverlappingObjects(L"OverlappingObjects", [](const auto&) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  for (int i = 0; i < 2; ++i) {
    std::optional<Md5> first(std::in_place, library);
    std::optional<Sha256> second(std::in_place, library);
    first.reset();
    Cifra::Test::PrintLog();
    Cifra::Test::PrintWhetherLogIsLoaded();
    second.reset();
    Cifra::Test::PrintLog();
    Cifra::Test::PrintWhetherLogIsLoaded();
  }
  return 0;
});

TEST_F(LogLibrary, OverlappingObjects_ShareOneLogUntilTheLastIsDestroyed) {
  host.PutLog();
  const Lines once = kLogBegins + Lines{kLogIsLoaded} + kLogEnds + Lines{kLogIsGone};
  EXPECT_EQ(once + once, host.Run(L"OverlappingObjects"));
}

const ChildAction kObjectsThatDoNotLog(L"ObjectsThatDoNotLog", [](const auto&) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  const Object<Cifra::IBase64> base64(library);
  const Object<Cifra::IBlowfish> blowfish(library);
  const Object<Cifra::IBlowfishAndBase64> combined(library);
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
});

TEST_F(LogLibrary, ObjectsThatDoNotLog_LoadNoLog) {
  host.PutLog();
  EXPECT_EQ(Lines{kLogIsGone}, host.Run(L"ObjectsThatDoNotLog"));
}

const ChildAction kHashFiles(L"HashFiles", [](const auto& paths) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  {
    const Md5 md5(library);
    const Sha256 sha256(library);
    for (const std::wstring& path : paths) {
      HashFile(md5, path);
      HashFile(sha256, path);
    }
  }
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
});

TEST_F(LogLibrary, HashFileThatSucceeds_LogsThePathAndNothingOfItsInnerObject) {
  host.PutLog();
  EXPECT_EQ(
      (Lines{kEmptyMd5, "= 0 E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855"} +
       kLogBegins +
       Lines{Write(32, kMd5HashFile, "Checking file " + emptyFile.string()),
             Write(32, kSha256HashFile, "Checking file " + emptyFile.string())} +
       kLogEnds + Lines{kLogIsGone}),
      host.Run(L"HashFiles", {emptyFile.wstring()}));
}

TEST_F(LogLibrary, HashFileThatCannotOpen_LogsTheError) {
  host.PutLog();
  const fs::path missing = host.Directory() / "missing";
  EXPECT_EQ((Lines{"= 2 ", "= 2 "} + kLogBegins +
             Lines{Write(32, kMd5HashFile, "Checking file " + missing.string()),
                   Write(4, kMd5HashFile, "The handle is not valid. Error is 2"),
                   Write(32, kSha256HashFile, "Checking file " + missing.string()),
                   Write(4, kSha256HashFile, "The handle is not valid. Error is 2")} +
             kLogEnds + Lines{kLogIsGone}),
            host.Run(L"HashFiles", {missing.wstring()}));
}

BOOL WINAPI FailToRead(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) {
  SetLastError(ERROR_IO_DEVICE);
  return FALSE;
}

const ChildAction kFailingReads(L"FailingReads", [](const auto& arguments) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  const ImportPatch patch(library.Module(), "ReadFile", &FailToRead);
  if (arguments[1] != L"") {
    Cifra::Test::SetErrorLeftByLogWrite(std::stoul(arguments[1]));
  }
  {
    const Md5 md5(library);
    const Sha256 sha256(library);
    HashFile(md5, arguments[0]);
    HashFile(sha256, arguments[0]);
  }
  Cifra::Test::PrintLog();
  return 0;
});

Lines FailingReadLines(const fs::path& path, const std::string& error) {
  const std::string result = "= " + error + " ";
  return Lines{result, result} + kLogBegins +
         Lines{Write(32, kMd5HashFile, "Checking file " + path.string()),
               Write(4, kMd5HashFile, "Reading from file returned false and error 1117"),
               Write(32, kSha256HashFile, "Checking file " + path.string()),
               Write(4, kSha256HashFile, "Reading from file returned false and error 1117")} +
         kLogEnds;
}

TEST_F(LogLibrary, ReadThatFails_LogsTheErrorAndReturnsIt) {
  host.PutLog();
  EXPECT_EQ(FailingReadLines(emptyFile, "1117"),
            host.Run(L"FailingReads", {emptyFile.wstring(), L""}));
}

TEST_F(LogLibrary, ReadThatFails_ReturnsTheErrorThatIsThereAfterLogging) {
  host.PutLog();
  EXPECT_EQ(FailingReadLines(emptyFile, "777"),
            host.Run(L"FailingReads", {emptyFile.wstring(), L"777"}));
}

const ChildAction kArguments(L"Arguments", [](const auto&) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  const Md5 md5(library);
  HashFile(md5, L"\u0416\u00E9\u20AC");
  for (const Cifra::Test::LogEntry& entry : Cifra::Test::TakeLogEntries()) {
    if (entry.exportName == "LogWrite") {
      std::printf("%s|%s|%s\n", entry.format.c_str(), entry.text.c_str(),
                  entry.writer == library.Module() ? "written by the library" : "?");
    }
  }
  return 0;
});

TEST_F(LogLibrary, Messages_CarryTheFormatItsArgumentsAndTheWritingModule) {
  host.PutLog();
  EXPECT_EQ(
      (Lines{"= 2 ",
             "Checking file %s|Checking file \xD0\x96\xC3\xA9\xE2\x82\xAC|written by the library",
             "The handle is not valid. Error is %d|The handle is not valid. Error is 2|"
             "written by the library"}),
      host.Run(L"Arguments"));
}

const ChildAction kTextFunctions(L"TextFunctions", [](const auto&) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  char digest[33];
  library.textMd5("abc", digest);
  Cifra::Test::PrintLog();
  library.wideTextMd5(L"abc", digest);
  Cifra::Test::PrintLog();
  return 0;
});

TEST_F(LogLibrary, TextFunctions_HoldTheLogThroughTheirInnerObject) {
  host.PutLog();
  const Lines once = kLogBegins + kLogEnds;
  EXPECT_EQ(once + once, host.Run(L"TextFunctions"));
}

// The order in which the exports are looked up, LogInit being called in between.
std::vector<std::string> lookedUp;

FARPROC WINAPI RecordLookup(HMODULE module, LPCSTR name) {
  if (module == GetModuleHandleW(L"log.dll")) {
    for (const std::string& line : Cifra::Test::TakeLogLines()) {
      lookedUp.push_back("called: " + line);
    }
    lookedUp.push_back(name);
  }
  return GetProcAddress(module, name);
}

const ChildAction kLookups(L"Lookups", [](const auto&) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  const ImportPatch patch(library.Module(), "GetProcAddress", &RecordLookup);
  {
    const Md5 md5(library);
  }
  for (const std::string& name : lookedUp) {
    std::printf("%s\n", name.c_str());
  }
  Cifra::Test::PrintLog();
  return 0;
});

TEST_F(LogLibrary, Exports_AreLookedUpInOrderAndLogDeinitAtTheEnd) {
  host.PutLog();
  EXPECT_EQ(
      (Lines{"LogInit",       "called: LogInit",    "LogApplySettings", "LogSetSettingsFile",
             "LogEnable",     "LogSetLevel",        "LogSetPath",       "LogSetType",
             "LogSetMode",    "LogSetMaxSize",      "LogSetDepth",      "LogWrite",
             "LogIsEnabled",  "LogMonitorSettings", "LogGetLevel",      "LogUninitDeskMetrics",
             "LogTrackEvent", "LogTrackEventData",  "LogRemoveModule",  "LogDeinit"} +
       kLogEnds),
      host.Run(L"Lookups"));
}

TEST_F(LogLibrary, LogWithoutOneOfItsExports_IsUsedForTheRest) {
  const Lines allCalls = kLogBegins +
                         Lines{Write(32, kMd5HashFile, "Checking file " + emptyFile.string()),
                               Write(32, kSha256HashFile, "Checking file " + emptyFile.string())} +
                         kLogEnds;
  for (const std::string missing :
       {"LogApplySettings", "LogDeinit", "LogEnable", "LogGetLevel", "LogInit", "LogIsEnabled",
        "LogMonitorSettings", "LogRemoveModule", "LogSetDepth", "LogSetLevel", "LogSetMaxSize",
        "LogSetMode", "LogSetPath", "LogSetSettingsFile", "LogSetType", "LogTrackEvent",
        "LogTrackEventData", "LogUninitDeskMetrics", "LogWrite"}) {
    Lines expected = {kEmptyMd5,
                      "= 0 E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855"};
    for (const std::string& call : allCalls) {
      if (call.substr(0, call.find(' ')) != missing) {
        expected.push_back(call);
      }
    }
    host.PutLogWithout(missing);
    EXPECT_EQ(expected + Lines{kLogIsGone}, host.Run(L"HashFiles", {emptyFile.wstring()}))
        << missing;
  }
}

const ChildAction kHostsOwnLog(L"HostsOwnLog", [](const auto& arguments) {
  kx::ModuleHandle hosts(LoadLibraryW(arguments[0].c_str()));
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  {
    const Md5 md5(library);
  }
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  hosts.reset();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
});

TEST_F(LogLibrary, LogLoadedByTheHost_IsUsedAndStaysLoaded) {
  const fs::path elsewhere = host.Directory() / "elsewhere";
  host.PutLog(elsewhere);
  const Lines expected = kLogBegins + kLogEnds + Lines{kLogIsLoaded, kLogIsGone};
  EXPECT_EQ(expected, host.Run(L"HostsOwnLog", {(elsewhere / "log.dll").wstring()}));
  // It is preferred to the one in the library's directory, which would not record its end.
  host.PutLogWithout("LogDeinit");
  EXPECT_EQ(expected, host.Run(L"HostsOwnLog", {(elsewhere / "log.dll").wstring()}));
}

const ChildAction kLibraryElsewhere(L"LibraryElsewhere", [](const auto& arguments) {
  const Cifra::Library library = LoadCifra(arguments[0]);
  {
    const Md5 md5(library);
  }
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
});

TEST_F(LogLibrary, LogInTheHostsDirectoryOnly_IsNotLoaded) {
  const fs::path elsewhere = host.Directory() / "elsewhere";
  fs::create_directories(elsewhere);
  fs::copy_file(FileUnderTest(), elsewhere / "Cifra.dll");
  host.PutLog();
  const ChildAction::Arguments arguments = {(elsewhere / "Cifra.dll").wstring()};
  EXPECT_EQ(Lines{kLogIsGone}, host.Run(L"LibraryElsewhere", arguments));
  host.PutLog(elsewhere);
  EXPECT_EQ(kLogBegins + kLogEnds + Lines{kLogIsGone}, host.Run(L"LibraryElsewhere", arguments));
}

TEST_F(LogLibrary, LogNextToALibraryWithALongPath_IsLoaded) {
  // Paths of that length need the prefix that lifts the limit.
  const std::wstring longName(120, L'd');
  const fs::path outer = L"\\\\?\\" + (host.Directory() / longName).wstring();
  const fs::path deep = outer / longName;
  ASSERT_TRUE(CreateDirectoryW(outer.c_str(), nullptr));
  ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
  ASSERT_TRUE(CopyFileW(FileUnderTest().c_str(), (deep / L"Cifra.dll").c_str(), TRUE));
  host.PutLog();
  ASSERT_TRUE(
      CopyFileW((host.Directory() / L"log.dll").c_str(), (deep / L"log.dll").c_str(), TRUE));
  fs::remove(host.Directory() / L"log.dll");
  EXPECT_EQ(kLogBegins + kLogEnds + Lines{kLogIsGone},
            host.Run(L"LibraryElsewhere", {(deep / L"Cifra.dll").wstring()}));
  DeleteFileW((deep / L"Cifra.dll").c_str());
  DeleteFileW((deep / L"log.dll").c_str());
}

// Without a log.dll: everything that the library tries.
Lines attempts;

HMODULE WINAPI RecordLoad(LPCWSTR file) {
  attempts.push_back("load " + fs::path(file).filename().string());
  return LoadLibraryW(file);
}

DWORD WINAPI NameNoModule(HMODULE, LPWSTR, DWORD) { return 0; }

DWORD WINAPI NameModuleWithoutDirectory(HMODULE, LPWSTR buffer, DWORD size) {
  wcscpy_s(buffer, size, L"Cifra.dll");
  return 9;
}

const ChildAction kNoLog(L"NoLog", [](const auto& arguments) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  const ImportPatch load(library.Module(), "LoadLibraryW", &RecordLoad);
  std::optional<ImportPatch> name;
  if (arguments[1] == L"no path") {
    name.emplace(library.Module(), "GetModuleFileNameW", &NameNoModule);
  } else if (arguments[1] == L"no directory") {
    name.emplace(library.Module(), "GetModuleFileNameW", &NameModuleWithoutDirectory);
  }
  {
    const Md5 md5(library);
    name.reset();
    const Sha256 sha256(library);
    HashFile(md5, arguments[0]);
    HashFile(sha256, arguments[0]);
    HashFile(md5, L"missing");
  }
  for (const std::string& attempt : attempts) {
    std::printf("%s\n", attempt.c_str());
  }
  Cifra::Test::PrintLog();
  return 0;
});

const Lines kWorksAsEver = {
    kEmptyMd5, "= 0 E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855", "= 2 "};

TEST_F(LogLibrary, WithoutALog_EverythingWorksAndTheLogIsTriedOnce) {
  EXPECT_EQ(kWorksAsEver + Lines{"load log.dll"},
            host.Run(L"NoLog", {emptyFile.wstring(), L"beside the library"}));
}

TEST_F(LogLibrary, FileThatIsNoLibrary_CountsAsNone) {
  std::ofstream(host.Directory() / "log.dll") << "no library";
  EXPECT_EQ(kWorksAsEver + Lines{"load log.dll"},
            host.Run(L"NoLog", {emptyFile.wstring(), L"beside the library"}));
}

TEST_F(LogLibrary, LibraryWhosePathIsUnknown_HasNoLog) {
  host.PutLog();
  EXPECT_EQ(kWorksAsEver, host.Run(L"NoLog", {emptyFile.wstring(), L"no path"}));
  EXPECT_EQ(kWorksAsEver, host.Run(L"NoLog", {emptyFile.wstring(), L"no directory"}));
}

// Eight threads that create and destroy objects.
constexpr int kThreads = 8;
constexpr int kRounds = 25;

const ChildAction kEightThreads(L"EightThreads", [](const auto&) {
  const Cifra::Library library = LoadCifra(Cifra::Test::LibraryInProgramDirectory());
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&library, i] {
      for (int round = 0; round < kRounds; ++round) {
        const Md5 md5(library);
        const std::wstring path = std::to_wstring(i) + L" " + std::to_wstring(round);
        kx::StringT<wchar_t> digest;
        md5->HashFile(path.c_str(), digest);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  Cifra::Test::PrintLog();
  Cifra::Test::PrintWhetherLogIsLoaded();
  return 0;
});

// Checks that the log's lives do not overlap, that messages come only while it lives, and gives the
// messages in order.
Lines MessagesOfWholeLives(const Lines& calls) {
  Lines messages;
  std::size_t ended = kLogEnds.size();  // how much of the end has been seen; all of it: no log
  for (const std::string& call : calls) {
    if (call == kLogBegins[0]) {
      EXPECT_EQ(kLogEnds.size(), ended) << "a log began before the last one had ended";
      ended = 0;
    } else if (call.starts_with("LogWrite")) {
      EXPECT_EQ(0u, ended) << "a message outside the log's life: " << call;
      messages.push_back(call);
    } else if (ended < kLogEnds.size()) {
      EXPECT_EQ(kLogEnds[ended], call);
      ++ended;
    } else {
      ADD_FAILURE() << "after the end: " << call;
    }
  }
  EXPECT_EQ(kLogEnds.size(), ended);
  return messages;
}

TEST_F(LogLibrary, EightThreads_GetEveryMessageWrittenWithinALogsLife) {
  host.PutLog();
  Lines calls = host.Run(L"EightThreads");
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(kLogIsGone, calls.back());
  calls.pop_back();

  std::map<std::string, Lines> ofThread;
  for (const std::string& message : MessagesOfWholeLives(calls)) {
    // A thread is known by its number in the path; the errors' lines do not name it.
    const std::size_t path = message.find("Checking file ");
    ofThread[path == std::string::npos ? "errors" : message.substr(path + 14, 1)].push_back(
        message);
  }
  EXPECT_EQ(
      Lines(kThreads * kRounds, Write(4, kMd5HashFile, "The handle is not valid. Error is 2")),
      ofThread["errors"]);
  for (int i = 0; i < kThreads; ++i) {
    Lines expected;
    for (int round = 0; round < kRounds; ++round) {
      expected.push_back(Write(32, kMd5HashFile,
                               "Checking file " + std::to_string(i) + " " + std::to_string(round)));
    }
    EXPECT_EQ(expected, ofThread[std::to_string(i)]) << "thread " << i;
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "hash/HashData.h"
#include "support/CountedHeap.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

// HashFile of both hash objects.
namespace {

namespace fs = std::filesystem;
using Cifra::Object;
using Cifra::Test::BytesOf;
using Cifra::Test::HashString;
using Cifra::Test::HashStringOf;
using Cifra::Test::ImportPatch;
using Cifra::Test::Library;

constexpr DWORD kPieceBytes = 4'194'304;
constexpr wchar_t kEarlierContent[] = L"earlier content";

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, HandleCloser>;

FileHandle Open(const fs::path& path, DWORD access, DWORD sharing) {
  const HANDLE file =
      CreateFileW(path.c_str(), access, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
  return FileHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

bool IsOpenSomewhere(const fs::path& path) { return !Open(path, GENERIC_READ, 0); }

// The library's calls of the platform during an operation.
struct Watch {
  std::vector<std::string> calls;
  std::vector<DWORD> wanted;  // bytes, of every read
  std::vector<DWORD> given;
  const void* buffer = nullptr;
  int readsUntilFailure = -1;
};
Watch watch;

HANDLE WINAPI WatchedOpen(LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security,
                          DWORD disposition, DWORD flags, HANDLE pattern) {
  EXPECT_EQ(GENERIC_READ, access);
  EXPECT_EQ(DWORD{FILE_SHARE_READ}, sharing);
  EXPECT_EQ(nullptr, security);
  EXPECT_EQ(DWORD{OPEN_EXISTING}, disposition);
  EXPECT_EQ(0u, flags);
  EXPECT_EQ(nullptr, pattern);
  watch.calls.push_back("open");
  return CreateFileW(path, access, sharing, security, disposition, flags, pattern);
}

BOOL WINAPI WatchedRead(HANDLE file, LPVOID buffer, DWORD wanted, LPDWORD given,
                        LPOVERLAPPED overlapped) {
  EXPECT_EQ(nullptr, overlapped);
  watch.calls.push_back("read");
  watch.wanted.push_back(wanted);
  if (watch.readsUntilFailure-- == 0) {
    SetLastError(ERROR_IO_DEVICE);
    return FALSE;
  }
  const BOOL isRead = ReadFile(file, buffer, wanted, given, overlapped);
  watch.given.push_back(*given);
  EXPECT_TRUE(!watch.buffer || watch.buffer == buffer) << "every read uses the same buffer";
  watch.buffer = buffer;
  return isRead;
}

BOOL WINAPI WatchedClose(HANDLE handle) {
  watch.calls.push_back("close");
  return CloseHandle(handle);
}

HMODULE WINAPI WatchedLoad(LPCWSTR file, HANDLE reserved, DWORD flags) {
  watch.calls.push_back("load");
  return LoadLibraryExW(file, reserved, flags);
}

BOOL WINAPI WatchedUnload(HMODULE module) {
  watch.calls.push_back("unload");
  return FreeLibrary(module);
}

void WatchedFree(void* block) {
  if (block && block == watch.buffer) {
    watch.calls.push_back("free");
  }
  std::free(block);
}

class Watcher {
 public:
  Watcher() { watch = {}; }

 private:
  const HMODULE module = Library().Module();
  const ImportPatch open{module, "CreateFileW", &WatchedOpen};
  const ImportPatch read{module, "ReadFile", &WatchedRead};
  const ImportPatch close{module, "CloseHandle", &WatchedClose};
  const ImportPatch load{module, "LoadLibraryExW", &WatchedLoad};
  const ImportPatch unload{module, "FreeLibrary", &WatchedUnload};
  const ImportPatch free{module, "free", &WatchedFree};
};

template <typename Kind>
class HashFile : public testing::Test {
 protected:
  // Hashes the file and returns the digest.
  std::string Digest(const fs::path& path) {
    kx::StringT<wchar_t> output(kEarlierContent);
    EXPECT_EQ(kCifraSuccess, hash->HashFile(path.c_str(), output));
    return Cifra::Test::Narrow(output);
  }

  // The error of a file that cannot be hashed.
  std::uint32_t Error(const fs::path& path) {
    kx::StringT<wchar_t> output(kEarlierContent);
    const std::uint32_t error = hash->HashFile(path.c_str(), output);
    EXPECT_STREQ(kEarlierContent, output.CStr()) << "a failure leaves the output unchanged";
    return error;
  }

  // The digest of a file of this size from Cifra::Test::WriteFileOfSize.
  std::string ExpectedDigest(std::size_t size) {
    const Object<typename Kind::Interface> another(Library());
    return HashStringOf(*another.Get(), BytesOf(Cifra::Test::ContentOfSize(size)));
  }

  fs::path MakeFile(const fs::path& name, std::size_t size) {
    Cifra::Test::WriteFileOfSize(directory / name, size);
    return directory / name;
  }

  Cifra::Test::TempDirectory directory;
  Object<typename Kind::Interface> hash{Library()};
};

using Kinds = testing::Types<Cifra::Test::Md5Kind, Cifra::Test::Sha256Kind>;
TYPED_TEST_SUITE(HashFile, Kinds);

TYPED_TEST(HashFile, EmptyFile_GivesTheDigestOfNothing) {
  EXPECT_EQ(Cifra::Test::KnownDigest<TypeParam>("prefix", 0),
            this->Digest(this->MakeFile(L"empty", 0)));
}

TYPED_TEST(HashFile, OneByte_IsHashed) {
  EXPECT_EQ(this->ExpectedDigest(1), this->Digest(this->MakeFile(L"one", 1)));
}

TYPED_TEST(HashFile, PieceLessOneByte_IsReadOnce) {
  const fs::path path = this->MakeFile(L"file", kPieceBytes - 1);
  const Watcher watcher;
  EXPECT_EQ(this->ExpectedDigest(kPieceBytes - 1), this->Digest(path));
  EXPECT_EQ((std::vector<DWORD>{kPieceBytes - 1}), watch.given);
}

TYPED_TEST(HashFile, ReadsExactPieceTwice) {
  const fs::path path = this->MakeFile(L"file", kPieceBytes);
  const Watcher watcher;
  EXPECT_EQ(this->ExpectedDigest(kPieceBytes), this->Digest(path));
  EXPECT_EQ((std::vector<DWORD>{kPieceBytes, kPieceBytes}), watch.wanted);
  EXPECT_EQ((std::vector<DWORD>{kPieceBytes, 0}), watch.given);
}

TYPED_TEST(HashFile, PieceAndOneByte_IsReadTwice) {
  const fs::path path = this->MakeFile(L"file", kPieceBytes + 1);
  const Watcher watcher;
  EXPECT_EQ(this->ExpectedDigest(kPieceBytes + 1), this->Digest(path));
  EXPECT_EQ((std::vector<DWORD>{kPieceBytes, 1}), watch.given);
}

constexpr std::uint8_t kDirt = 0xA5;
bool isBufferDirty = false;

void* AllocateDirty(std::size_t bytes) {
  void* block = std::malloc(bytes);
  return block ? std::memset(block, kDirt, bytes) : nullptr;
}

BOOL WINAPI ReadIntoDirt(HANDLE file, LPVOID buffer, DWORD wanted, LPDWORD given,
                         LPOVERLAPPED overlapped) {
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  isBufferDirty = std::all_of(bytes, bytes + wanted, [](auto byte) { return byte == kDirt; });
  return ReadFile(file, buffer, wanted, given, overlapped);
}

TYPED_TEST(HashFile, DoesNotZeroTheBufferFirst) {
  const fs::path path = this->MakeFile(L"file", 10);
  const ImportPatch allocate(Library().Module(), "malloc", &AllocateDirty);
  const ImportPatch read(Library().Module(), "ReadFile", &ReadIntoDirt);
  isBufferDirty = false;
  EXPECT_EQ(this->ExpectedDigest(10), this->Digest(path));
  EXPECT_TRUE(isBufferDirty);
}

TYPED_TEST(HashFile, ObtainsTheInnerObjectAfterOpening_AndGivesBackInReverse) {
  const fs::path path = this->MakeFile(L"file", 10);
  const Watcher watcher;
  this->Digest(path);
  EXPECT_EQ((std::vector<std::string>{"open", "load", "read", "unload", "close", "free"}),
            watch.calls);
}

TYPED_TEST(HashFile, FileThatCannotBeOpened_NeedsNoInnerObject) {
  const Watcher watcher;
  this->Error(this->directory / L"missing");
  EXPECT_EQ((std::vector<std::string>{"open"}), watch.calls);
}

TYPED_TEST(HashFile, MissingFile_Gives2AndLeavesTheOutput) {
  EXPECT_EQ(2u, this->Error(this->directory / L"missing"));
}

TYPED_TEST(HashFile, MissingDirectory_Gives3AndLeavesTheOutput) {
  EXPECT_EQ(3u, this->Error(this->directory / L"missing" / L"file"));
  EXPECT_EQ(3u, this->Error(L""));
}

TYPED_TEST(HashFile, Directory_Gives5AndLeavesTheOutput) {
  EXPECT_EQ(5u, this->Error(this->directory.Path()));
}

TYPED_TEST(HashFile, FileOpenForWritingElsewhere_Gives32AndLeavesTheOutput) {
  const fs::path path = this->MakeFile(L"shared", 3);
  const FileHandle writer = Open(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
  ASSERT_TRUE(writer);
  EXPECT_EQ(32u, this->Error(path));
}

TYPED_TEST(HashFile, FileOpenForReadingElsewhere_IsHashed) {
  const fs::path path = this->MakeFile(L"shared", 3);
  const FileHandle reader = Open(path, GENERIC_READ, FILE_SHARE_READ);
  ASSERT_TRUE(reader);
  EXPECT_EQ(this->ExpectedDigest(3), this->Digest(path));
}

TYPED_TEST(HashFile, FirstReadThatFails_GivesItsErrorAndLeavesTheOutput) {
  const fs::path path = this->MakeFile(L"file", 3);
  {
    const Watcher watcher;
    watch.readsUntilFailure = 0;
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, this->Error(path));
  }
  EXPECT_FALSE(IsOpenSomewhere(path));
}

TYPED_TEST(HashFile, ReadThatFailsInTheMiddle_GivesItsErrorAndLeavesTheOutput) {
  const fs::path path = this->MakeFile(L"file", kPieceBytes + 1);
  {
    const Watcher watcher;
    watch.readsUntilFailure = 1;
    EXPECT_EQ(DWORD{ERROR_IO_DEVICE}, this->Error(path));
    EXPECT_EQ((std::vector<std::string>{"open", "load", "read", "read", "unload", "close", "free"}),
              watch.calls);
  }
  EXPECT_FALSE(IsOpenSomewhere(path));
}

TYPED_TEST(HashFile, WithoutTheLibrarysOwnFile_GivesNotFoundAndLeavesTheOutput) {
  const fs::path path = this->MakeFile(L"file", 3);
  {
    const ImportPatch patch(Library().Module(), "LoadLibraryExW", &Cifra::Test::LoadNothing);
    EXPECT_EQ(std::uint32_t{kCifraNotFound}, this->Error(path));
  }
  EXPECT_FALSE(IsOpenSomewhere(path));
}

TYPED_TEST(HashFile, LeavesTheRunningHashAsItWas) {
  const fs::path path = this->MakeFile(L"file", 100);
  this->hash->Update(BytesOf("a").data(), 1);
  this->Digest(path);
  this->Error(this->directory / L"missing");
  this->hash->Update(BytesOf("bc").data(), 2);
  const std::string digest = HashString(*this->hash.Get());
  EXPECT_EQ(HashStringOf(*this->hash.Get(), BytesOf("abc")), digest);
}

TYPED_TEST(HashFile, AfterFinal_NeedsNoInit) {
  HashString(*this->hash.Get());
  EXPECT_EQ(this->ExpectedDigest(10), this->Digest(this->MakeFile(L"file", 10)));
}

TYPED_TEST(HashFile, PathWithOtherThanAsciiCharacters_IsOpened) {
  const fs::path path = this->MakeFile(L"\u0416\u00E9\u20AC \U0001F600.bin", 5);
  EXPECT_EQ(this->ExpectedDigest(5), this->Digest(path));
}

TYPED_TEST(HashFile, PathOfMoreThan260Characters_IsOpened) {
  // Paths of that length need the prefix that lifts the limit.
  const fs::path deep = L"\\\\?\\" + (this->directory / std::wstring(200, L'd')).wstring();
  ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
  const fs::path path = deep / std::wstring(100, L'f');
  ASSERT_TRUE(CopyFileW(this->MakeFile(L"file", 7).c_str(), path.c_str(), TRUE));
  EXPECT_EQ(this->ExpectedDigest(7), this->Digest(path));
  DeleteFileW(path.c_str());
}

TYPED_TEST(HashFile, FilesOnTwoThreads_DoNotDisturbEachOther) {
  const fs::path paths[] = {this->MakeFile(L"one", kPieceBytes + 5), this->MakeFile(L"two", 77)};
  std::string digests[2];
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 2; ++i) {
    threads.emplace_back([&, i] {
      const Object<typename TypeParam::Interface> own(Library());
      kx::StringT<wchar_t> output;
      own->HashFile(paths[i].c_str(), output);
      digests[i] = Cifra::Test::Narrow(output);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(this->ExpectedDigest(kPieceBytes + 5), digests[0]);
  EXPECT_EQ(this->ExpectedDigest(77), digests[1]);
}

TYPED_TEST(HashFile, LeaksNoMemory) {
  const fs::path path = this->MakeFile(L"file", 10);
  const Cifra::Test::CountedHeap heap;
  this->Digest(path);
  this->Error(this->directory / L"missing");
  EXPECT_EQ(0, heap.LiveBlocks());
}

TYPED_TEST(HashFile, WithoutMemoryAtAnyPoint_ThrowsBadAllocWithoutALeak) {
  const fs::path path = this->MakeFile(L"file", 10);
  kx::StringT<wchar_t> output(kEarlierContent);
  {
    // The runtime keeps what it allocates for a thread's first exception.
    Cifra::Test::CountedHeap heap;
    heap.FailAfter(0);
    EXPECT_THROW(this->hash->HashFile(path.c_str(), output), std::bad_alloc);
  }
  int failures = 0;
  for (bool isDone = false; !isDone;) {
    Cifra::Test::CountedHeap heap;
    heap.FailAfter(failures);
    try {
      this->hash->HashFile(path.c_str(), output);
      isDone = true;
    } catch (const std::bad_alloc&) {
      ++failures;
      EXPECT_STREQ(kEarlierContent, output.CStr());
    }
    heap.FailNever();
    EXPECT_EQ(0, heap.LiveBlocks()) << failures;
    EXPECT_FALSE(IsOpenSomewhere(path)) << failures;
  }
  EXPECT_GE(failures, 2);  // at least the buffer and the inner object
}

}  // namespace

#include <windows.h>
#include <gtest/gtest.h>
#include <psapi.h>

#include <filesystem>

#include "hash/HashData.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

namespace {

constexpr std::uint64_t kFileBytes = 5'000'000'001;
constexpr std::size_t kMebibyte = 1 << 20;

// A file of zeros that takes no disk space.
void MakeSparseFile(const std::filesystem::path& path, std::uint64_t bytes) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(bytes);
  EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
  EXPECT_TRUE(SetEndOfFile(file));
  CloseHandle(file);
}

std::size_t PeakWorkingSet() {
  PROCESS_MEMORY_COUNTERS counters{};
  EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)));
  return counters.PeakWorkingSetSize;
}

TEST(HashFileLarge, FiveGigabytes_AreHashedInFlatMemory) {
  const Cifra::Test::TempDirectory directory;
  MakeSparseFile(directory / L"zeros", kFileBytes);
  const Cifra::Object<Cifra::IMd5> md5(Cifra::Test::Library());
  kx::StringT<wchar_t> output;
  const std::size_t before = PeakWorkingSet();
  ASSERT_EQ(kCifraSuccess, md5->HashFile((directory / L"zeros").c_str(), output));
  EXPECT_EQ(Cifra::Test::KnownDigest<Cifra::Test::Md5Kind>("zeros", kFileBytes),
            Cifra::Test::Narrow(output));
  EXPECT_GT(before, 0u);
  EXPECT_LT(PeakWorkingSet() - before, 16 * kMebibyte);
}

}  // namespace

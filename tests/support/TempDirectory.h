#pragma once

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace Cifra::Test {

// TempDirectory is an empty directory that is removed, with what is in it, at the end of the test.
class TempDirectory {
 public:
  TempDirectory() {
    static std::atomic<unsigned> counter{0};
    path = std::filesystem::temp_directory_path() /
           (L"cifra-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
            std::to_wstring(counter.fetch_add(1)));
    std::filesystem::create_directories(path);
  }
  ~TempDirectory() {
    std::error_code ignored;  // a module that is still loaded keeps its file
    std::filesystem::remove_all(path, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::filesystem::path& Path() const { return path; }
  std::filesystem::path operator/(const std::filesystem::path& name) const { return path / name; }

 private:
  std::filesystem::path path;
};

}  // namespace Cifra::Test

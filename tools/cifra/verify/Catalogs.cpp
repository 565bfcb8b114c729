#include "verify/Catalogs.h"

#include <windows.h>
// After windows.h:
#include <wincrypt.h>
// After wincrypt.h:
#include <mscat.h>

#include <algorithm>
#include <cstdint>

#include "system/Handles.h"

namespace client {
namespace {

// The catalog functions, where the system has them: they are found by name, because the program is
// to say "unknown" where they are missing, not to fail to start.
class CatalogFunctions {
 public:
  CatalogFunctions()
      : module(LoadLibraryExW(L"wintrust.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {
    isWhole = Find(acquire, "CryptCATAdminAcquireContext2") &&
              Find(release, "CryptCATAdminReleaseContext") &&
              Find(digest, "CryptCATAdminCalcHashFromFileHandle2") &&
              Find(enumerate, "CryptCATAdminEnumCatalogFromHash") &&
              Find(information, "CryptCATCatalogInfoFromContext") &&
              Find(releaseCatalog, "CryptCATAdminReleaseCatalogContext");
  }

  bool isWhole = false;
  decltype(&CryptCATAdminAcquireContext2) acquire = nullptr;
  decltype(&CryptCATAdminReleaseContext) release = nullptr;
  decltype(&CryptCATAdminCalcHashFromFileHandle2) digest = nullptr;
  decltype(&CryptCATAdminEnumCatalogFromHash) enumerate = nullptr;
  decltype(&CryptCATCatalogInfoFromContext) information = nullptr;
  decltype(&CryptCATAdminReleaseCatalogContext) releaseCatalog = nullptr;

 private:
  template <typename Function>
  bool Find(Function*& function, const char* name) {
    void* const address =
        module ? reinterpret_cast<void*>(GetProcAddress(module.get(), name)) : nullptr;
    function = reinterpret_cast<Function*>(address);
    return function != nullptr;
  }

  ModuleHandle module;
};

// CatalogSearch looks files up by one digest algorithm.
class CatalogSearch {
 public:
  CatalogSearch(const CatalogFunctions& platform, const wchar_t* algorithm) : functions(platform) {
    if (!functions.acquire(&context, nullptr, algorithm, nullptr, 0)) {
      context = nullptr;
    }
  }
  ~CatalogSearch() {
    if (context) {
      functions.release(context, 0);
    }
  }
  CatalogSearch(const CatalogSearch&) = delete;
  CatalogSearch& operator=(const CatalogSearch&) = delete;

  // False when the file cannot be looked up.
  bool Find(HANDLE file, std::vector<std::wstring>& paths) const {
    const std::vector<std::uint8_t> digest = context ? DigestOf(file) : std::vector<std::uint8_t>();
    if (digest.empty()) {
      return false;
    }
    HCATINFO catalog = nullptr;
    // Each call lets go of the catalog before.
    while ((catalog = functions.enumerate(context, const_cast<BYTE*>(digest.data()),
                                          static_cast<DWORD>(digest.size()), 0, &catalog))) {
      CATALOG_INFO info{};
      info.cbStruct = sizeof(info);
      if (functions.information(catalog, &info, 0)) {
        paths.emplace_back(info.wszCatalogFile);
      }
    }
    return true;
  }

 private:
  std::vector<std::uint8_t> DigestOf(HANDLE file) const {
    std::vector<std::uint8_t> digest(64);
    auto size = static_cast<DWORD>(digest.size());
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    if (!functions.digest(context, file, &size, digest.data(), 0)) {
      return {};
    }
    digest.resize(size);
    return digest;
  }

  const CatalogFunctions& functions;
  HCATADMIN context = nullptr;
};

}  // namespace

std::optional<std::vector<std::wstring>> FindCatalogs(const std::wstring& path) {
  static const CatalogFunctions kFunctions;
  const FileHandle file(NullIfInvalid(CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
  if (!kFunctions.isWhole || !file) {
    return std::nullopt;
  }
  std::vector<std::wstring> paths;
  bool isKnown = true;
  for (const wchar_t* algorithm : {L"SHA256", L"SHA1"}) {
    const bool isLookedUp = CatalogSearch(kFunctions, algorithm).Find(file.get(), paths);
    isKnown = isKnown && isLookedUp;
  }
  return isKnown || !paths.empty() ? std::optional(paths) : std::nullopt;
}

}  // namespace client

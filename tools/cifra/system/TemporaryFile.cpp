#include "system/TemporaryFile.h"

// After windows.h:
#include <winternl.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "system/Paths.h"

// Not in every toolchain's winternl.h.
// NOLINTNEXTLINE(readability-redundant-declaration)
extern "C" NTSTATUS NTAPI NtSetInformationFile(HANDLE, PIO_STATUS_BLOCK, PVOID, ULONG,
                                               FILE_INFORMATION_CLASS);

namespace client {
namespace {

// FILE_LINK_INFORMATION of the driver kit, without the name.
struct LinkInformation {
  BOOLEAN replacesExisting;
  HANDLE folder;
  ULONG nameBytes;
};
constexpr std::size_t kNameOffset = offsetof(LinkInformation, nameBytes) + sizeof(ULONG);
constexpr auto kLinkInformationClass = static_cast<FILE_INFORMATION_CLASS>(11);

// Gives an open file one more name. CreateHardLink replaces nothing.
bool Link(HANDLE file, const std::wstring& path, bool replacesExisting) {
  const std::wstring name = NativePath(path);
  const LinkInformation information{replacesExisting, nullptr,
                                    static_cast<ULONG>(name.size() * sizeof(wchar_t))};
  std::vector<std::byte> buffer(sizeof(information) + information.nameBytes);
  std::memcpy(buffer.data(), &information, sizeof(information));
  std::memcpy(buffer.data() + kNameOffset, name.data(), information.nameBytes);
  IO_STATUS_BLOCK status{};
  const NTSTATUS result = NtSetInformationFile(
      file, &status, buffer.data(), static_cast<ULONG>(buffer.size()), kLinkInformationClass);
  SetLastError(RtlNtStatusToDosError(result));
  return result >= 0;
}

// While this is set, the file vanishes when its last handle is closed, however the process ends.
bool SetDeleteOnClose(HANDLE file, bool isDeleted) {
  FILE_DISPOSITION_INFO disposition{};
  disposition.DeleteFile = isDeleted;
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof(disposition));
}

}  // namespace

TemporaryFile::~TemporaryFile() {
  file.reset();
  if (!name.empty()) {
    DeleteFileW(name.c_str());  // gone already, unless the system refused to mark it
  }
}

bool TemporaryFile::Create(const std::wstring& folder) {
  constexpr unsigned kMostAttempts = 100;
  // Not the target's name with something added: that may be too long for a name.
  const std::wstring stem = folder + L"cifra-" + std::to_wstring(GetCurrentProcessId()) + L"-";
  for (unsigned attempt = 0; attempt < kMostAttempts && !file; ++attempt) {
    const std::wstring number = std::to_wstring(attempt);
    name = ForSystem(stem + number + L".tmp");
    if (!Open(name, FILE_FLAG_DELETE_ON_CLOSE)) {
      if (GetLastError() == ERROR_FILE_EXISTS) {
        continue;
      }
      break;
    }
    // Tried out while the file is empty, since volumes and their drivers differ.
    const std::wstring trial = ForSystem(stem + number + L"-link.tmp");
    isLinkable = Link(file.get(), trial, false) && DeleteFileW(trial.c_str());
    if (!isLinkable) {
      file.reset();  // a file opened in this way cannot be kept
      if (Open(name, FILE_ATTRIBUTE_NORMAL)) {
        SetDeleteOnClose(file.get(), true);
      }
    }
  }
  if (!file) {
    name.clear();
  }
  return file != nullptr;
}

bool TemporaryFile::Open(const std::wstring& path, DWORD flags) {
  file.reset(NullIfInvalid(CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_DELETE,
                                       nullptr, CREATE_NEW, flags, nullptr)));
  return file != nullptr;
}

bool TemporaryFile::Publish(const std::wstring& target) {
  if (isLinkable) {
    if (!Link(file.get(), target, true)) {
      return false;
    }
    name.clear();
    file.reset();
    return true;
  }
  SetDeleteOnClose(file.get(), false);
  file.reset();
  if (!MoveFileExW(name.c_str(), target.c_str(),
                   MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    return false;
  }
  name.clear();
  return true;
}

}  // namespace client

#include "system/Output.h"

#include <algorithm>
#include <utility>

#include "system/Console.h"
#include "system/Failure.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

// A device, such as NUL or CON, is written to directly: there is no name to put a file under.
FileHandle OpenDevice(const std::wstring& path) {
  FileHandle device(
      NullIfInvalid(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, OPEN_EXISTING, 0, nullptr)));
  if (device && GetFileType(device.get()) == FILE_TYPE_DISK) {
    device.reset();
  }
  return device;
}

// While this is set, the file vanishes when its last handle is closed, however the process ends.
bool SetDeleteOnClose(HANDLE file, bool isDeleted) {
  FILE_DISPOSITION_INFO disposition{};
  disposition.DeleteFile = isDeleted;
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof(disposition));
}

// The folder of a path, with the separator behind it; empty for the current one.
std::wstring FolderOf(const std::wstring& path) {
  const std::size_t drive = path.find(L':') == 1 ? 2 : 0;
  return path.substr(0, std::max(path.find_last_of(L"\\/") + 1, drive));
}

}  // namespace

Output::Output(const std::wstring& path) {
  if (path == kStandardStream) {
    name = "standard output";
    handle = NullIfInvalid(GetStdHandle(STD_OUTPUT_HANDLE));
    return;
  }
  name = ToUtf8(path);
  target = ForSystem(path);
  if (IsFolder(path)) {
    throw Failure(ExitCode::kCannotWrite, name + ": is a directory");
  }
  file = OpenDevice(target);
  if (file) {
    target.clear();
  } else {
    CreateTemporary();
  }
  handle = file.get();
}

Output::~Output() {
  file.reset();
  if (!temporary.empty()) {
    DeleteFileW(temporary.c_str());  // gone already, unless the system refused to mark it
  }
}

void Output::CreateTemporary() {
  // Not the target's name with something behind it: that may be too long for a name.
  const std::wstring folder = FolderOf(target);
  for (unsigned attempt = 0; attempt < 100 && !file; ++attempt) {
    temporary = ForSystem(folder + L"cifra-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                          std::to_wstring(attempt) + L".tmp");
    file.reset(NullIfInvalid(CreateFileW(temporary.c_str(), GENERIC_WRITE | DELETE, 0, nullptr,
                                         CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)));
    if (!file && GetLastError() != ERROR_FILE_EXISTS) {
      break;
    }
  }
  if (!file) {
    temporary.clear();
    Fail("cannot create");
  }
  SetDeleteOnClose(file.get(), true);
}

void Output::Write(std::string_view bytes) {
  if (!IsScreen()) {
    WriteNow(bytes);
    return;
  }
  const std::string text = std::exchange(unfinished, {}).append(bytes);
  const std::size_t end = text.size() - UnfinishedUtf8(text);
  unfinished = text.substr(end);
  WriteNow(std::string_view(text).substr(0, end));
}

void Output::WriteNow(std::string_view bytes) {
  if (!WriteTo(handle, bytes)) {
    Fail("cannot write");
  }
}

void Output::Commit() {
  WriteNow(unfinished);
  if (target.empty()) {
    return;
  }
  SetDeleteOnClose(file.get(), false);
  file.reset();
  if (!MoveFileExW(temporary.c_str(), target.c_str(),
                   MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    Fail("cannot write");
  }
  temporary.clear();
}

bool Output::IsScreen() const { return !file && IsConsole(handle); }

void Output::Fail(const char* what) const {
  throw Failure::OfSystem(ExitCode::kCannotWrite, name, what);
}

}  // namespace client

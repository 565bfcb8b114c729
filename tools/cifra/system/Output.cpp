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

// The folder of a path, with its separator; empty for the current one.
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
  device = OpenDevice(target);
  if (device) {
    target.clear();
  } else if (!file.Create(FolderOf(target))) {
    Fail("cannot create");
  }
  handle = device ? device.get() : file.Handle();
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
  if (!file.Publish(target)) {
    Fail("cannot write");
  }
}

bool Output::IsScreen() const { return target.empty() && !device && IsConsole(handle); }

void Output::Fail(const char* what) const {
  throw Failure::OfSystem(ExitCode::kCannotWrite, name, what);
}

}  // namespace client

#include "system/Input.h"

#include <algorithm>
#include <cstring>

#include "system/Console.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {

Input::Input(const std::wstring& path) {
  if (path == kStandardStream) {
    OpenStandard();
    return;
  }
  name = ToUtf8(path);
  Open(ForSystem(path));
}

Input::Input(const ListedFile& listed) {
  if (!listed.isFound && listed.name == kStandardStream) {
    OpenStandard();
    return;
  }
  name = ToUtf8(listed.name);
  Open(listed.Path());
  if (listed.isFound && GetFileType(handle) != FILE_TYPE_DISK) {
    throw Failure(ExitCode::kCannotRead, name + ": is not a file");
  }
}

void Input::OpenStandard() {
  name = "standard input";
  handle = NullIfInvalid(GetStdHandle(STD_INPUT_HANDLE));
  if (!handle) {
    throw Failure(ExitCode::kCannotRead, name + ": there is none");
  }
  isConsole = IsConsole(handle);
}

void Input::Open(const std::wstring& path) {
  // Names come from lists too: who serves a pipe may learn who opens it, and not act as that user.
  constexpr DWORD kFlags =
      FILE_FLAG_SEQUENTIAL_SCAN | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
  file.reset(NullIfInvalid(CreateFileW(path.c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_EXISTING, kFlags, nullptr)));
  if (!file) {
    const DWORD error = GetLastError();
    if (IsFolder(path)) {
      throw Failure(ExitCode::kCannotRead, name + ": is a directory");
    }
    throw Failure::OfSystem(ExitCode::kCannotRead, name, "cannot open", error);
  }
  handle = file.get();
}

Input Input::OfText(std::string text) {
  Input input;
  input.name = "the text";
  input.pending = std::move(text);
  input.isAtEnd = true;
  return input;
}

std::size_t Input::Read(std::span<std::uint8_t> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size()) {
    const std::size_t count = ReadSome(buffer.subspan(filled));
    if (count == 0) {
      break;
    }
    filled += count;
  }
  return filled;
}

void Input::ReadBeginning(std::span<std::uint8_t> buffer) {
  const std::size_t count = Read(buffer);
  pending.assign(reinterpret_cast<const char*>(buffer.data()), count);
  isAtEnd = count < buffer.size();
}

std::string Input::ReadAll(std::uint64_t limit) {
  const auto requireFit = [this, limit](std::uint64_t size) {
    if (size > limit) {
      throw Failure(ExitCode::kBadData, name + ": has more than the " + std::to_string(limit) +
                                            " bytes that can be worked on as text");
    }
  };
  LARGE_INTEGER size{};
  if (file && GetFileSizeEx(file.get(), &size)) {
    requireFit(static_cast<std::uint64_t>(size.QuadPart));
  }
  std::string all;
  std::string piece(1U << 16, '\0');
  for (;;) {
    const std::size_t count = Read({reinterpret_cast<std::uint8_t*>(piece.data()), piece.size()});
    all.append(piece, 0, count);
    requireFit(all.size());
    if (count < piece.size()) {
      return all;
    }
  }
}

std::size_t Input::ReadSome(std::span<std::uint8_t> buffer) {
  if (isConsole && pending.empty() && !ReadConsoleLine(handle, pending)) {
    throw Failure::OfSystem(ExitCode::kCannotRead, name, "cannot read");
  }
  if (isConsole || isAtEnd || !pending.empty()) {
    return TakePending(buffer);
  }
  DWORD count = 0;
  const auto most = static_cast<DWORD>(std::min<std::size_t>(buffer.size(), 1U << 22));
  if (!ReadFile(handle, buffer.data(), most, &count, nullptr)) {
    const DWORD error = GetLastError();
    if (error == ERROR_BROKEN_PIPE) {  // the writer closed its end
      return 0;
    }
    throw Failure::OfSystem(ExitCode::kCannotRead, name, "cannot read", error);
  }
  return count;
}

std::size_t Input::TakePending(std::span<std::uint8_t> buffer) {
  const std::size_t count = std::min(pending.size(), buffer.size());
  std::memcpy(buffer.data(), pending.data(), count);
  pending.erase(0, count);
  return count;
}

void Input::Close() { file.reset(); }

}  // namespace client

#include "system/Input.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "system/Console.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Interruption.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

struct Reading {
  std::size_t bytes = 0;
  DWORD error = ERROR_SUCCESS;
};

// No bytes and no error: the input is at its end.
Reading ReadOnce(HANDLE handle, std::span<std::uint8_t> buffer) {
  DWORD count = 0;
  const auto most = static_cast<DWORD>(std::min<std::size_t>(buffer.size(), 1U << 22));
  if (ReadFile(handle, buffer.data(), most, &count, nullptr)) {
    return {count, ERROR_SUCCESS};
  }
  const DWORD error = GetLastError();
  return {0, error == ERROR_BROKEN_PIPE ? ERROR_SUCCESS : error};  // the writer closed its end
}

// Fills the buffer from where nothing may come for ever. Asked to end, the run leaves the thread
// that waits for it behind, with the memory that it reads into.
Reading FillUnlessInterrupted(HANDLE handle, std::span<std::uint8_t> buffer) {
  struct Shared {
    std::vector<std::uint8_t> buffer;
    Reading result;
    FileHandle isDone{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  };
  const auto shared = std::make_shared<Shared>();
  shared->buffer.resize(buffer.size());
  std::thread([handle, shared] {
    Reading& result = shared->result;
    Reading last;
    do {
      last = ReadOnce(handle, std::span(shared->buffer).subspan(result.bytes));
      result = {result.bytes + last.bytes, last.error};
    } while (last.bytes > 0 && result.bytes < shared->buffer.size());
    SetEvent(shared->isDone.get());
  }).detach();
  const HANDLE ends[] = {shared->isDone.get(), InterruptionEvent()};
  if (WaitForMultipleObjects(2, ends, FALSE, INFINITE) != WAIT_OBJECT_0) {
    AwaitInterruption();
  }
  std::copy_n(shared->buffer.begin(), shared->result.bytes, buffer.begin());
  return shared->result;
}

}  // namespace

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
  const bool mayWait = !file && EndsOrderly();
  const Reading reading =
      mayWait ? FillUnlessInterrupted(handle, buffer) : ReadOnce(handle, buffer);
  if (reading.error != ERROR_SUCCESS) {
    throw Failure::OfSystem(ExitCode::kCannotRead, name, "cannot read", reading.error);
  }
  return reading.bytes;
}

std::size_t Input::TakePending(std::span<std::uint8_t> buffer) {
  const std::size_t count = std::min(pending.size(), buffer.size());
  std::memcpy(buffer.data(), pending.data(), count);
  pending.erase(0, count);
  return count;
}

void Input::Close() { file.reset(); }

}  // namespace client

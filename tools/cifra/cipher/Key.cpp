#include "cipher/Key.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "cipher/KeyPrompt.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/Input.h"
#include "system/Paths.h"
#include "system/SecretBuffer.h"

namespace client {
namespace {

// A line end after the key is not part of it: editors and "echo" leave one there.
std::size_t WithoutLineEnd(const std::uint8_t* bytes, std::size_t size) {
  if (size > 0 && bytes[size - 1] == '\n') {
    --size;
    if (size > 0 && bytes[size - 1] == '\r') {
      --size;
    }
  }
  return size;
}

Key KeyFromFile(const std::string& path) {
  Input input(FromArgument(path));
  // Large enough to show that a file is too long, its line end included, without reading all of it.
  SecretBuffer<std::uint8_t, Key::kMaxBytes + 3> bytes;
  const std::size_t size = input.Read(bytes.All());
  return {bytes.Data(), WithoutLineEnd(bytes.Data(), size), input.Name()};
}

Key KeyFromUtf16(const wchar_t* units, std::size_t count, const std::string& source) {
  SecretBuffer<char, 4 * (Key::kMaxBytes + 1)> utf8;
  const int size =
      count == 0
          ? 0
          : WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, units, static_cast<int>(count),
                                utf8.Data(), static_cast<int>(utf8.All().size()), nullptr, nullptr);
  if (count > 0 && size <= 0) {
    throw Failure(ExitCode::kBadKey, source + ": the key is not Unicode text");
  }
  return {reinterpret_cast<const std::uint8_t*>(utf8.Data()), static_cast<std::size_t>(size),
          source};
}

Key KeyFromVariable(const std::string& name) {
  SecretBuffer<wchar_t, Key::kMaxBytes + 2> value;
  const std::string source = "environment variable " + name;
  SetLastError(ERROR_SUCCESS);
  const DWORD length = GetEnvironmentVariableW(FromArgument(name).c_str(), value.Data(),
                                               static_cast<DWORD>(value.All().size()));
  if (length == 0 && GetLastError() != ERROR_SUCCESS) {
    throw Failure(ExitCode::kBadKey, source + ": is not set");
  }
  // A value that does not fit is longer than any key; its length is all that is known then.
  return KeyFromUtf16(value.Data(), std::min<std::size_t>(length, value.All().size() - 1), source);
}

Key KeyFromUser(KeyUse use) {
  SecretBuffer<wchar_t, Key::kMaxBytes + 2> typed;
  const std::size_t count = PromptWithoutEcho(L"Key: ", typed.All());
  if (use == KeyUse::kEncrypt) {
    SecretBuffer<wchar_t, Key::kMaxBytes + 2> again;
    PromptWithoutEcho(L"The same key again: ", again.All());
    if (!std::ranges::equal(typed.All(), again.All())) {
      throw Failure(ExitCode::kBadKey, "the two keys differ");
    }
  }
  return KeyFromUtf16(typed.Data(), count, "the console");
}

}  // namespace

Key::Key(const std::uint8_t* data, std::size_t size, const std::string& source) : length(size) {
  if (size == 0) {
    throw Failure(ExitCode::kBadKey, source + ": the key is empty; it must have 1 to 56 bytes");
  }
  if (size > kMaxBytes) {
    throw Failure(ExitCode::kBadKey, source + ": the key has more than 56 bytes");
  }
  std::memcpy(bytes, data, size);
}

Key::~Key() { SecureZeroMemory(bytes, sizeof(bytes)); }

void AddKeyOptions(Command& command, KeyOptions& options) {
  command.AtMostOne(
      {command.Text("--key-file", options.file, "FILE",
                    "Read the key from FILE, or from standard input when FILE is -. One line end "
                    "at its end is not part of the key"),
       command.Text("--key-env", options.variable, "NAME",
                    "Take the key from the environment variable NAME")});
}

Key ReadKey(const KeyOptions& options, KeyUse use) {
  // Typed, it is asked for in the same way: not shown, and not kept by the input.
  const bool isTyped = options.ReadsStandardInput() && IsConsole(GetStdHandle(STD_INPUT_HANDLE));
  if (!options.file.empty() && !isTyped) {
    return KeyFromFile(options.file);
  }
  if (!options.variable.empty()) {
    return KeyFromVariable(options.variable);
  }
  return KeyFromUser(use);
}

}  // namespace client

#include "system/Console.h"

#include <algorithm>
#include <optional>

#include "system/Failure.h"
#include "system/Interruption.h"
#include "system/Unicode.h"

namespace client {
namespace {

constexpr std::size_t kMaxConsoleUnits = 8192;  // a console refuses much longer pieces
constexpr std::size_t kMaxFileBytes = 1U << 20;

// A stream that takes nothing without calling it an error would be written to for ever.
bool IsNothing(DWORD written) {
  if (written == 0) {
    SetLastError(ERROR_WRITE_FAULT);
  }
  return written == 0;
}

bool WriteConsoleText(HANDLE console, std::wstring_view text) {
  while (!text.empty()) {
    std::size_t units = std::min(text.size(), kMaxConsoleUnits);
    const bool endsInPair = units < text.size() && IS_HIGH_SURROGATE(text[units - 1]);
    units -= endsInPair ? 1 : 0;
    DWORD written = 0;
    if (!WriteConsoleW(console, text.data(), static_cast<DWORD>(units), &written, nullptr) ||
        IsNothing(written)) {
      return false;
    }
    text.remove_prefix(written);
  }
  return true;
}

bool WriteBytes(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = static_cast<DWORD>(std::min(bytes.size(), kMaxFileBytes));
    DWORD written = 0;
    if (!WriteFile(file, bytes.data(), count, &written, nullptr) || IsNothing(written)) {
      return false;
    }
    bytes.remove_prefix(written);
  }
  return true;
}

// What is not UTF-8 goes to the console byte for byte, as any other program's output would.
bool WriteToConsole(HANDLE console, std::string_view bytes) {
  const std::optional<std::wstring> text = FromUtf8(bytes);
  return text ? WriteConsoleText(console, *text) : WriteBytes(console, bytes);
}

}  // namespace

bool IsConsole(HANDLE stream) {
  DWORD mode = 0;
  return GetConsoleMode(stream, &mode) != 0;
}

bool WriteTo(HANDLE stream, std::string_view bytes) {
  return IsConsole(stream) ? WriteToConsole(stream, bytes) : WriteBytes(stream, bytes);
}

bool OutputIsScreen() {
  // Asked once: for each of many small files the question would take as long as reading them.
  static const bool kIsScreen = IsConsole(GetStdHandle(STD_OUTPUT_HANDLE));
  return kIsScreen;
}

void WriteOut(std::string_view bytes) {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  if (!(OutputIsScreen() ? WriteToConsole(output, bytes) : WriteBytes(output, bytes))) {
    throw Failure::OfSystem(ExitCode::kCannotWrite, "standard output", "cannot write");
  }
}

void WriteMessage(std::string_view message, std::string_view advice) {
  std::string lines = "cifra: " + EscapeForConsole(message, Backslashes::kKept) + "\n";
  if (!advice.empty()) {
    lines.append(advice) += '\n';
  }
  WriteTo(GetStdHandle(STD_ERROR_HANDLE), lines);
}

bool ReadConsoleLine(HANDLE console, std::string& line) {
  constexpr wchar_t kEndOfInput = 0x1A;  // Ctrl+Z
  constexpr DWORD kMostUnits = 4096;
  std::wstring units(kMostUnits + 1, L'\0');
  DWORD count = 0;
  SetLastError(ERROR_SUCCESS);
  if (!ReadConsoleW(console, units.data(), kMostUnits, &count, nullptr)) {
    return false;
  }
  if (count == 0 && GetLastError() == ERROR_OPERATION_ABORTED) {
    AwaitInterruption();
  }
  const wchar_t last = units[count == 0 ? 0 : count - 1];
  if (count == kMostUnits && (IS_HIGH_SURROGATE(last) || last == L'\r')) {  // a pair was cut
    DWORD more = 0;
    if (!ReadConsoleW(console, &units[count], 1, &more, nullptr)) {
      return false;
    }
    count += more;
  }
  units.resize(count);
  units.resize(std::min(units.find(kEndOfInput), units.size()));
  if (units.ends_with(L"\r\n")) {
    units.replace(units.size() - 2, 2, L"\n");
  }
  line = ToUtf8(units);
  return true;
}

}  // namespace client

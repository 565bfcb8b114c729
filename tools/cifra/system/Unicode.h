#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace client {

// ToUtf8 turns UTF-16 into UTF-8; half of a surrogate pair becomes U+FFFD. For what is shown.
std::string ToUtf8(std::wstring_view text);

// The same for what must not change on the way: nothing for text with half of a surrogate pair.
std::optional<std::string> ToUtf8Strictly(std::wstring_view text);

// FromUtf8 turns UTF-8 into UTF-16; nothing for bytes that are not UTF-8.
std::optional<std::wstring> FromUtf8(std::string_view text);

// ToValidUtf8 replaces the bytes that are not UTF-8 by U+FFFD.
std::string ToValidUtf8(std::string_view bytes);

// EscapeForConsole makes untrusted text safe to show, on one line: characters that control a
// screen, end a line, turn the direction of writing or are not seen at all are spelled out, as \n,
// \x1B or
// \u202E. With kDoubled a backslash is escaped too, so that no text can look like another's
// escapes.
enum class Backslashes { kKept, kDoubled };
std::string EscapeForConsole(std::string_view untrusted,
                             Backslashes backslashes = Backslashes::kDoubled);

// UnfinishedUtf8 gives the number of bytes at the end that begin a character without ending it.
std::size_t UnfinishedUtf8(std::string_view text);

// SystemMessage gives the system's words for an error code, with the code: "Access denied (error
// 5)".
std::string SystemMessage(DWORD error);

}  // namespace client

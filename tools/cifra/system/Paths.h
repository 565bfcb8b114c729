#pragma once

#include <string>

namespace client {

// The name that stands for standard input or output.
inline constexpr wchar_t kStandardStream[] = L"-";

// ForSystem gives the form of a path that the file calls take at any length: a path too long for
// the ordinary form becomes an absolute one with the prefix "\\?\".
std::wstring ForSystem(const std::wstring& path);

// FromArgument turns a path from the command line, which is UTF-8, into the system's form.
std::wstring FromArgument(const std::string& path);

// True for an existing folder.
bool IsFolder(const std::wstring& path);

}  // namespace client

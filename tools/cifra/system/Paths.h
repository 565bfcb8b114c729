#pragma once

#include <string>

namespace client {

// The name that means standard input or output.
inline constexpr wchar_t kStandardStream[] = L"-";

// ForSystem gives the form of a path that the file calls take at any length: a path too long for
// the ordinary form becomes an absolute one with the prefix "\\?\".
std::wstring ForSystem(const std::wstring& path);

// NativePath gives the absolute form of a path that the system's native calls take.
std::wstring NativePath(const std::wstring& path);

// ExactPath gives the path, in the form "\\?\...", that the system takes literally: a name that
// ends with a dot or a blank, or that is a device's elsewhere (nul, com1.txt), then means the file
// of that very name. Separators may be / or \; . and .. are resolved here, except in a path that
// has the prefix already.
std::wstring ExactPath(const std::wstring& path);

// True for a device's name, such as NUL. Names in a folder or with an extension are those of files,
// although older systems take com1.txt for a device as well.
bool IsDevice(const std::wstring& path);

// FromArgument turns a path from the command line, which is UTF-8, into the system's form.
std::wstring FromArgument(const std::string& path);

// The path of this program.
std::wstring ProgramPath();

// True for an existing folder.
bool IsFolder(const std::wstring& path);

}  // namespace client

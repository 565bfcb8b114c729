#pragma once

#include <string>

namespace client {

// The kind of a file in which a signature can be embedded: "PE", "MSI", "CAB", "catalog" by its
// content, "script" or "package" by its name. Empty for any other kind, and for a file that cannot
// be read.
std::string SignableKind(const std::wstring& path);

// True for a script by its name.
bool IsScript(const std::wstring& path);

}  // namespace client

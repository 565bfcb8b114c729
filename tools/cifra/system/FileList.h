#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace client {

class Problems;

// FileList turns the names of a command line into files. A name with * or ?, in any part of the
// path, stands for the files that match, whatever their letter case; with isRecursive, a folder
// stands for all the files below it. Folders are listed in the order of their names, links to
// folders are not followed. Names are joined with '/', which the system takes as well as '\'.
//
// A pattern that matches nothing and a folder that cannot be read are reported to problems. Names
// without a pattern are taken as they are, whether there is such a file or not.
std::vector<std::wstring> FileList(const std::vector<std::string>& names, bool isRecursive,
                                   Problems& problems);

// True when text matches the pattern: * stands for any characters, ? for one. The pattern *.*
// matches everything, as it does elsewhere on the system.
bool MatchesPattern(std::wstring_view text, std::wstring_view pattern);

// The name under which a file is shown: UTF-8, with '/' between its parts, so that lists of files
// can be used on other systems.
std::string ShownName(const std::wstring& path);

// Bytes in the files that exist.
std::uint64_t TotalSize(const std::vector<std::wstring>& paths);

}  // namespace client

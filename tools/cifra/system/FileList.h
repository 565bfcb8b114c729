#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace client {

class Problems;

// ListedFile is a file that the program is to work on.
struct ListedFile {
  std::wstring name;     // as typed, or found below what was typed
  bool isFound = false;  // not typed: it is a file, whatever its name means elsewhere

  // The name for the user: UTF-8, with '/' between its parts, so that lists of files can be used on
  // other systems.
  std::string Shown() const;
  // The path to open, which means the file of exactly this name; only a typed name may be a device.
  std::wstring Path() const;
};

// FileList turns the names of a command line into files. A name with * or ?, in any part of the
// path, means the files that match, whatever their letter case; with isRecursive, a folder means
// all the files below it. Folders are listed in the order of their names, links to
// folders are not followed.
//
// A pattern that matches nothing and a folder that cannot be read are reported to problems. Names
// without a pattern are taken as they are, whether there is such a file or not.
std::vector<ListedFile> FileList(const std::vector<std::string>& names, bool isRecursive,
                                 Problems& problems);

// True when text matches the pattern: * stands for any characters, ? for one. The pattern *.*
// matches everything, as it does elsewhere on the system.
bool MatchesPattern(std::wstring_view text, std::wstring_view pattern);

// The bytes in a file, 0 for one that cannot be asked; in files.
std::uint64_t SizeOf(const ListedFile& file);
std::uint64_t TotalSize(const std::vector<ListedFile>& files);

}  // namespace client

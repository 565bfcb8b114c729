#include "system/FileList.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "system/Failure.h"
#include "system/Handles.h"
#include "system/Interruption.h"
#include "system/Paths.h"
#include "system/Problems.h"
#include "system/Unicode.h"

namespace client {
namespace {

struct FolderEntry {
  std::wstring name;
  bool isFolder = false;
  bool isLink = false;
};

std::wstring InFolder(const std::wstring& folder, const std::wstring& name) {
  const bool needsSeparator = !folder.empty() && !std::wcschr(L"/\\:", folder.back());
  return folder + (needsSeparator ? L"/" : L"") + name;
}

// Folders of a store that is synchronised or virtual are reparse points, too, and no links.
bool IsLink(const WIN32_FIND_DATAW& data) {
  const DWORD tag = data.dwReserved0;  // 0 from a system that does not tell
  return (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (tag == 0 || IsReparseTagNameSurrogate(tag));
}

// All that is in a folder; the empty name is the current one.
std::vector<FolderEntry> ReadFolder(const std::wstring& folder) {
  WIN32_FIND_DATAW data{};
  const FindHandle search(NullIfInvalid(
      FindFirstFileExW(ExactPath(InFolder(folder, L"*")).c_str(), FindExInfoBasic, &data,
                       FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH)));
  const auto fail = [&folder] {
    throw Failure::OfSystem(ExitCode::kCannotRead,
                            folder.empty() ? "." : ListedFile{folder}.Shown(), "cannot list");
  };
  if (!search) {
    fail();
  }
  std::vector<FolderEntry> entries;
  do {
    const std::wstring name = data.cFileName;
    if (name != L"." && name != L"..") {
      entries.push_back(
          {name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, IsLink(data)});
    }
  } while (FindNextFileW(search.get(), &data));
  if (GetLastError() != ERROR_NO_MORE_FILES) {
    fail();
  }
  std::ranges::sort(entries, {}, &FolderEntry::name);
  return entries;
}

// What cannot have a pattern: a drive, which alone is its current folder, and the prefix of an
// exact path, with which a question mark is part.
std::size_t RootLength(std::wstring_view name) {
  const bool isExact = name.starts_with(L"\\\\?\\") || name.starts_with(L"//?/");
  const std::size_t prefix = isExact ? 4 : 0;
  return name.substr(prefix).find(L':') == 1 ? prefix + 2 : prefix;
}

bool HasPattern(std::wstring_view text) { return text.find_first_of(L"*?") != text.npos; }

class Collector {
 public:
  Collector(bool recursive, Problems& reported) : isRecursive(recursive), problems(reported) {}

  void Add(const std::wstring& name) {
    const std::size_t root = RootLength(name);
    if (!HasPattern(name.substr(root))) {
      AddNamed({name});
      return;
    }
    const std::size_t before = files.size();
    Match(name.substr(0, root), name.substr(root));
    if (files.size() == before) {
      problems.Report({ExitCode::kCannotRead, ListedFile{name}.Shown() + ": no file matches"});
    }
  }

  std::vector<ListedFile> files;

 private:
  void AddNamed(const ListedFile& file) {
    if (isRecursive && IsFolder(file.Path())) {
      Walk(file.name);
    } else {
      files.push_back(file);
    }
  }

  void AddFound(const std::wstring& name) {
    // A bare - is standard input to whoever reads the list.
    files.push_back({name == kStandardStream ? L"./" + name : name, true});
  }

  // Does not call itself: a path may have more parts than a thread's stack has room for.
  void Walk(const std::wstring& folder) {
    std::vector<std::pair<std::wstring, bool>> pending{{folder, true}};  // the next one last
    while (!pending.empty()) {
      const auto [path, isFolder] = std::move(pending.back());
      pending.pop_back();
      if (!isFolder) {
        AddFound(path);
        continue;
      }
      const std::vector<FolderEntry> entries = List(path);
      for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        if (!entry->isFolder || !entry->isLink) {
          pending.emplace_back(InFolder(path, entry->name), entry->isFolder);
        }
      }
    }
  }

  // Finds what the rest of a path matches below the folder.
  void Match(const std::wstring& folder, const std::wstring& rest) {
    const std::size_t end = std::min(rest.find_first_of(L"/\\"), rest.size());
    const std::size_t next = std::min(rest.find_first_not_of(L"/\\", end), rest.size());
    const std::wstring part = rest.substr(0, end);
    if (!HasPattern(part)) {
      // With the separators as they are: they may be those of a drive or of a server's share.
      Match(folder + rest.substr(0, next), rest.substr(next));
      return;
    }
    for (const FolderEntry& entry : List(folder)) {
      if (!MatchesPattern(entry.name, part)) {
        continue;
      }
      const std::wstring path = InFolder(folder, entry.name);
      if (next < rest.size()) {
        MatchBelow(entry, path, rest.substr(next));
      } else if (!entry.isFolder) {
        if (end == rest.size()) {  // "*/" is for folders alone
          AddFound(path);
        }
      } else if (isRecursive && !entry.isLink) {
        Walk(path);
      }
    }
  }

  void MatchBelow(const FolderEntry& entry, const std::wstring& path, const std::wstring& rest) {
    if (!entry.isFolder) {
      return;
    }
    if (HasPattern(rest)) {
      Match(path + L"/", rest);
    } else if (GetFileAttributesW(ExactPath(InFolder(path, rest)).c_str()) !=
               INVALID_FILE_ATTRIBUTES) {
      AddNamed({InFolder(path, rest), true});
    }
  }

  std::vector<FolderEntry> List(const std::wstring& folder) {
    ThrowIfInterrupted();
    try {
      return ReadFolder(folder);
    } catch (const Failure& failure) {
      problems.Report(failure);
      return {};
    }
  }

  bool isRecursive;
  Problems& problems;
};

wchar_t Folded(wchar_t unit) {
  CharUpperBuffW(&unit, 1);
  return unit;
}

}  // namespace

std::string ListedFile::Shown() const {
  std::string shown = ToUtf8(name);
  std::ranges::replace(shown, '\\', '/');
  return shown;
}

std::wstring ListedFile::Path() const {
  return !isFound && IsDevice(name) ? name : ExactPath(name);
}

std::vector<ListedFile> FileList(const std::vector<std::string>& names, bool isRecursive,
                                 Problems& problems) {
  Collector collector(isRecursive, problems);
  for (const std::string& name : names) {
    collector.Add(FromArgument(name));
  }
  return std::move(collector.files);
}

bool MatchesPattern(std::wstring_view text, std::wstring_view pattern) {
  if (pattern == L"*.*") {
    return true;
  }
  // The last * seen, and where the text that it matches ends: further on each time the rest fails.
  std::size_t star = pattern.npos;
  std::size_t starEnd = 0;
  std::size_t at = 0;
  std::size_t t = 0;
  while (t < text.size()) {
    if (at < pattern.size() && pattern[at] == L'*') {
      star = at++;
      starEnd = t;
    } else if (at < pattern.size() &&
               (pattern[at] == L'?' || Folded(pattern[at]) == Folded(text[t]))) {
      ++at;
      ++t;
    } else if (star != pattern.npos) {
      at = star + 1;
      t = ++starEnd;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', at) == pattern.npos;
}

std::uint64_t SizeOf(const ListedFile& file) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(file.Path().c_str(), GetFileExInfoStandard, &data)) {
    return 0;
  }
  return (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
}

std::uint64_t TotalSize(const std::vector<ListedFile>& files) {
  std::uint64_t total = 0;
  for (const ListedFile& file : files) {
    ThrowIfInterrupted();
    total += SizeOf(file);
  }
  return total;
}

}  // namespace client

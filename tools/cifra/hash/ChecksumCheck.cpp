#include "hash/ChecksumCheck.h"

#include <windows.h>

#include <cstring>

#include "hash/HashReport.h"
#include "program/Progress.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Input.h"
#include "system/Paths.h"
#include "system/Problems.h"
#include "system/Unicode.h"

namespace client {
namespace {

std::string ListName(const std::wstring& path) {
  return path == kStandardStream ? "standard input" : ShownName(path);
}

// The list as UTF-8 without a byte-order mark. Some shells write what they redirect as UTF-16.
std::string DecodeList(std::string bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    return bytes.substr(3);
  }
  if (bytes.starts_with("\xFF\xFE")) {
    std::wstring units((bytes.size() - 2) / sizeof(wchar_t), L'\0');
    std::memcpy(units.data(), bytes.data() + 2, units.size() * sizeof(wchar_t));
    return ToUtf8(units);
  }
  return bytes;
}

bool IsMissing(const std::wstring& path) {
  if (GetFileAttributesW(ForSystem(path).c_str()) != INVALID_FILE_ATTRIBUTES) {
    return false;
  }
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

void WarnOf(std::size_t count, const char* one, const char* several) {
  if (count > 0) {
    WriteMessage("WARNING: " + std::to_string(count) + " " + (count == 1 ? one : several));
  }
}

}  // namespace

void ChecksumCheck::Run(const std::wstring& path) {
  Counts counts;
  const std::vector<ChecksumLine> lines = ReadList(path, counts);
  if (lines.empty()) {
    throw Failure(ExitCode::kBadData,
                  ListName(path) + ": no properly formatted checksum lines found");
  }
  Progress progress([&lines] {
    std::vector<std::wstring> files;
    for (const ChecksumLine& line : lines) {
      files.push_back(FromArgument(line.name));
    }
    return TotalSize(files);
  });
  for (const ChecksumLine& line : lines) {
    Compare(line, progress, counts);
  }
  Conclude(path, counts);
}

std::vector<ChecksumLine> ChecksumCheck::ReadList(const std::wstring& path, Counts& counts) {
  const std::string text = DecodeList(Input(path).ReadAll());
  std::vector<ChecksumLine> lines;
  std::size_t number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    std::string line = text.substr(begin, end - begin);
    begin = end + 1;
    ++number;
    if (line.ends_with('\r')) {
      line.pop_back();
    }
    if (line.empty() || line.starts_with('#')) {
      continue;
    }
    const std::optional<ChecksumLine> parsed = ParseChecksumLine(line, options.algorithm);
    if (parsed && !(path == kStandardStream && parsed->name == "-")) {
      lines.push_back(*parsed);
      continue;
    }
    ++counts.badLines;
    if (options.warnsOfLines && !options.isSilent) {
      WriteMessage(ListName(path) + ": " + std::to_string(number) +
                   ": improperly formatted checksum line");
    }
  }
  return lines;
}

void ChecksumCheck::Compare(const ChecksumLine& line, Progress& progress, Counts& counts) {
  HashOutcome outcome{line.name, line.algorithm, "", line.digest, ""};
  try {
    const std::optional<std::wstring> path = FromUtf8(line.name);
    if (!path) {
      throw Failure(ExitCode::kCannotRead, line.name + ": the name is not UTF-8");
    }
    if (options.ignoresMissing && line.name != "-" && IsMissing(*path)) {
      return;
    }
    Input input(*path);
    outcome.digest = hasher.Digest(*line.algorithm, input, progress);
    ++counts.verified;
  } catch (const Failure& failure) {
    progress.Hide();
    problems.Report(failure);
    outcome.error = failure.what();
    ++counts.unreadable;
  }
  progress.Hide();
  if (!outcome.digest.empty() && outcome.digest != outcome.expected) {
    ++counts.wrong;
    problems.Add(ExitCode::kMismatch);
  }
  report.Add(outcome);
}

void ChecksumCheck::Conclude(const std::wstring& path, const Counts& counts) {
  if (options.isStrict && counts.badLines > 0) {
    problems.Add(ExitCode::kBadData);
  }
  if (!options.isSilent) {
    WarnOf(counts.badLines, "line is improperly formatted", "lines are improperly formatted");
    WarnOf(counts.unreadable, "listed file could not be read", "listed files could not be read");
    WarnOf(counts.wrong, "computed checksum did NOT match", "computed checksums did NOT match");
  }
  if (options.ignoresMissing && counts.verified == 0) {
    problems.Report({ExitCode::kCannotRead, ListName(path) + ": no file was verified"});
  }
}

}  // namespace client

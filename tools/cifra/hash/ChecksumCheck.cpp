#include "hash/ChecksumCheck.h"

#include <cstdint>

#include "hash/HashReport.h"
#include "program/Progress.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/Paths.h"
#include "system/Problems.h"
#include "system/Unicode.h"

namespace client {
namespace {

void WarnOf(std::size_t count, const char* one, const char* several) {
  if (count > 0) {
    WriteMessage("WARNING: " + std::to_string(count) + " " + (count == 1 ? one : several));
  }
}

}  // namespace

void ChecksumCheck::Run(const ListedFile& file) {
  ChecksumList list(file, options.algorithm);
  Progress progress(options.progress, [this, &list] {
    std::uint64_t total = 0;
    while (const std::optional<ChecksumList::Line> line = list.Next()) {
      total += line->content ? SizeOf(TaskOf(*line->content).file) : 0;
    }
    list.Rewind();
    return total;
  });
  Counts counts;
  DigestFiles(
      library, progress, options.jobs, [&] { return NextTask(list, progress, counts); },
      [&](const DigestTask& task, const DigestResult& result) {
        const Progress::Pause pause = progress.Hide();
        Judge(task, result, counts);
      });
  const Progress::Pause pause = progress.Hide();
  if (counts.goodLines == 0) {
    throw Failure(ExitCode::kBadData, list.Name() + ": no properly formatted checksum lines found");
  }
  Conclude(list.Name(), counts);
}

std::optional<DigestTask> ChecksumCheck::NextTask(ChecksumList& list, Progress& progress,
                                                  Counts& counts) const {
  while (const std::optional<ChecksumList::Line> line = list.Next()) {
    if (line->content) {
      ++counts.goodLines;
      return TaskOf(*line->content);
    }
    ++counts.badLines;
    if (options.warnsOfLines && !options.isSilent) {
      const Progress::Pause pause = progress.Hide();
      const std::string tag = options.algorithm ? options.algorithm->tag + std::string(" ") : "";
      WriteMessage(list.Name() + ": " + std::to_string(line->number) + ": improperly formatted " +
                   tag + "checksum line");
    }
  }
  return std::nullopt;
}

DigestTask ChecksumCheck::TaskOf(const ChecksumLine& line) const {
  DigestTask task;
  task.algorithm = line.algorithm;
  task.shown = line.name;
  task.expected = line.digest;
  task.isOptional = options.ignoresMissing;
  const std::optional<std::wstring> name = FromUtf8(line.name);
  if (!name) {
    task.obstacle.emplace(ExitCode::kCannotRead, line.name + ": the name is not UTF-8");
  } else if (name->find(L'\0') != name->npos) {
    task.obstacle.emplace(ExitCode::kCannotRead, line.name + ": the name has a zero character");
  } else {
    task.file = {*name, *name != kStandardStream};
  }
  return task;
}

void ChecksumCheck::Judge(const DigestTask& task, const DigestResult& result, Counts& counts) {
  if (result.isMissing) {
    return;
  }
  HashOutcome outcome{task.shown, task.algorithm, result.digest, task.expected, ""};
  if (result.failure) {
    problems.Report(*result.failure);
    outcome.error = result.failure->Message();
    ++counts.unreadable;
  } else {
    ++counts.verified;
    if (outcome.digest != outcome.expected) {
      ++counts.wrong;
      problems.Add(ExitCode::kMismatch);
    }
  }
  report.Add(outcome);
}

void ChecksumCheck::Conclude(const std::string& list, const Counts& counts) {
  if (options.isStrict && counts.badLines > 0) {
    problems.Add(ExitCode::kBadData);
  }
  if (!options.isSilent) {
    WarnOf(counts.badLines, "line is improperly formatted", "lines are improperly formatted");
    WarnOf(counts.unreadable, "listed file could not be read", "listed files could not be read");
    WarnOf(counts.wrong, "computed checksum did NOT match", "computed checksums did NOT match");
  }
  if (options.ignoresMissing && counts.verified == 0) {
    problems.Add(ExitCode::kCannotRead);
    if (!options.isSilent) {
      WriteMessage(list + ": no file was verified");
    }
  }
}

}  // namespace client

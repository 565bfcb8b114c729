#include "hash/DigestRun.h"

#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "system/Input.h"
#include "system/Interruption.h"
#include "system/OrderedWork.h"
#include "system/Paths.h"

namespace client {
namespace {

bool IsStandardInput(const ListedFile& file) {
  return !file.isFound && file.name == kStandardStream;
}

// A list made on another system may have names that no file here can have.
bool IsMissing(const ListedFile& file) {
  if (IsStandardInput(file) || GetFileAttributesW(file.Path().c_str()) != INVALID_FILE_ATTRIBUTES) {
    return false;
  }
  switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_DIRECTORY:
    case ERROR_FILENAME_EXCED_RANGE:
      return true;
    default:
      return false;
  }
}

// A file before its digest: open, or with the result that there is none.
struct OpenedFile {
  std::optional<Input> input;
  DigestResult result;
};

OpenedFile Open(const DigestTask& task) {
  OpenedFile opened;
  try {
    if (task.obstacle) {
      throw Failure(*task.obstacle);
    }
    if (task.isOptional && IsMissing(task.file)) {
      opened.result.isMissing = true;
    } else {
      opened.input.emplace(task.file);
    }
  } catch (const Failure& failure) {
    opened.result.failure = failure;
  }
  return opened;
}

// Opener opens a file and reads its beginning, which is all of a small file. Standard input is left
// alone until its turn.
class Opener {
 public:
  OpenedFile operator()(const DigestTask& task) const {
    OpenedFile opened = Open(task);
    if (!opened.input || IsStandardInput(task.file)) {
      return opened;
    }
    try {
      opened.input->ReadBeginning({buffer.get(), kBeginningBytes});
    } catch (const Failure& failure) {
      opened.input.reset();
      opened.result.failure = failure;
    }
    return opened;
  }

 private:
  static constexpr std::size_t kBeginningBytes = 1U << 15;

  // Shared, since a worker must be copyable.
  std::shared_ptr<std::uint8_t[]> buffer =
      std::make_unique_for_overwrite<std::uint8_t[]>(kBeginningBytes);
};

DigestResult Digest(Hasher& hasher, const DigestTask& task, OpenedFile& opened) {
  if (opened.input) {
    try {
      opened.result.digest = hasher.Digest(*task.algorithm, *opened.input);
    } catch (const Failure& failure) {
      opened.result.failure = failure;
    }
  }
  return std::move(opened.result);
}

DigestResult OpenAndDigest(Hasher& hasher, const DigestTask& task) {
  static std::mutex standardInput;  // named twice, it must not be read by two threads at once
  std::unique_lock<std::mutex> turn;
  if (IsStandardInput(task.file)) {
    turn = std::unique_lock(standardInput);
  }
  OpenedFile opened = Open(task);
  return Digest(hasher, task, opened);
}

// To open and to close a small file takes longer than to digest it, so one thread digests while two
// open the files that follow.
void DigestOneByOne(Hasher& hasher, const std::function<std::optional<DigestTask>()>& next,
                    const std::function<void(const DigestTask&, DigestResult)>& take) {
  constexpr std::size_t kOpeners = 2;
  OrderedWork<DigestTask, OpenedFile>::RunBeside(
      kOpeners, next, [] { return Opener(); },
      [&](const DigestTask& task, OpenedFile opened) { take(task, Digest(hasher, task, opened)); });
}

}  // namespace

void DigestFiles(const CifraLibrary& library, Progress& progress, std::size_t jobs,
                 const std::function<std::optional<DigestTask>()>& next,
                 const std::function<void(const DigestTask&, DigestResult)>& take) {
  const auto nextUnlessInterrupted = [&next] {
    ThrowIfInterrupted();
    return next();
  };
  const auto takeUnlessInterrupted = [&take](const DigestTask& task, DigestResult result) {
    ThrowIfInterrupted();
    take(task, std::move(result));
  };
  if (jobs == 1) {
    Hasher hasher(library, progress);
    DigestOneByOne(hasher, nextUnlessInterrupted, takeUnlessInterrupted);
    return;
  }
  const auto makeWorker = [&] {
    return [hasher = std::make_shared<Hasher>(library, progress)](const DigestTask& task) {
      return OpenAndDigest(*hasher, task);
    };
  };
  OrderedWork<DigestTask, DigestResult>::RunBeside(jobs, nextUnlessInterrupted, makeWorker,
                                                   takeUnlessInterrupted);
}

}  // namespace client

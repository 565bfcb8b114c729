#include "hash/DigestRun.h"

#include <windows.h>

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

DigestResult Digest(Hasher& hasher, const DigestTask& task) {
  static std::mutex standardInput;  // named twice, it must not be read by two threads at once
  DigestResult result;
  try {
    if (task.obstacle) {
      throw Failure(*task.obstacle);
    }
    if (task.isOptional && IsMissing(task.file)) {
      result.isMissing = true;
      return result;
    }
    std::unique_lock<std::mutex> turn;
    if (IsStandardInput(task.file)) {
      turn = std::unique_lock(standardInput);
    }
    Input input(task.file);
    result.digest = hasher.Digest(*task.algorithm, input);
  } catch (const Failure& failure) {
    result.failure = failure;
  }
  return result;
}

}  // namespace

void DigestFiles(const CifraLibrary& library, Progress& progress, std::size_t jobs,
                 const std::function<std::optional<DigestTask>()>& next,
                 const std::function<void(const DigestTask&, DigestResult)>& take) {
  const auto makeWorker = [&] {
    return [hasher = std::make_shared<Hasher>(library, progress)](const DigestTask& task) {
      return Digest(*hasher, task);
    };
  };
  OrderedWork<DigestTask, DigestResult>::Run(
      jobs,
      [&next] {
        ThrowIfInterrupted();
        return next();
      },
      makeWorker,
      [&take](const DigestTask& task, DigestResult result) {
        ThrowIfInterrupted();
        take(task, std::move(result));
      });
}

}  // namespace client

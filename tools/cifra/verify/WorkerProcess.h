#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "system/Handles.h"
#include "verify/VerifyRecord.h"
#include "verify/Worker.h"
#include "verify/WorkerProtocol.h"

namespace client {

// WorkerProcess is another process of this program that verifies files, see Worker.h. It ends by
// itself when its pipe is closed, and is ended when a file takes too long or this program is
// interrupted.
class WorkerProcess {
 public:
  explicit WorkerProcess(const WorkerOptions& options);
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // The packet that answers a job; nothing when the process ended.
  std::optional<std::string> Ask(const Job& job);
  // How many jobs it was given.
  std::size_t Asked() const { return asked; }
  // After it ended: whether that was because a file took too long, and otherwise with which code,
  // such as 0xC0000005.
  bool IsTimedOut() const { return isTimedOut; }
  DWORD EndCode() const;

 private:
  class Watch;

  void Start(const std::wstring& commandLine, HANDLE input, HANDLE output);

  FileHandle process;
  FileHandle toProcess;
  FileHandle fromProcess;
  DWORD timeout;  // milliseconds
  std::atomic<bool> isTimedOut = false;
  std::size_t asked = 0;
};

// FileVerifier verifies one file after another, each in a process other than this one. The process
// is replaced when it has verified some hundred files, because the platform's state of unsigned
// ones stays with it, and when a file made it crash.
class FileVerifier {
 public:
  explicit FileVerifier(const WorkerOptions& wanted) : options(wanted) {}

  // The record of a file; null when it was skipped.
  Record Verify(const Job& job);

 private:
  WorkerOptions options;
  std::unique_ptr<WorkerProcess> process;
};

}  // namespace client

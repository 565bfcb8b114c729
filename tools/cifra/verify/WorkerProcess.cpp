#include "verify/WorkerProcess.h"

#include <array>
#include <utility>
#include <vector>

#include "system/Failure.h"
#include "system/Interruption.h"
#include "system/Paths.h"

namespace client {
namespace {

constexpr std::size_t kMostFiles = 500;
constexpr DWORD kMillisecondsToEnd = 5000;

[[noreturn]] void Fail(const char* what) {
  throw Failure::OfSystem(ExitCode::kInternal, "verification", what);
}

struct Pipe {
  FileHandle read;
  FileHandle write;

  Pipe() {
    HANDLE ends[2] = {};
    if (!CreatePipe(&ends[0], &ends[1], nullptr, 0)) {
      Fail("cannot create a pipe");
    }
    read.reset(ends[0]);
    write.reset(ends[1]);
  }
};

// What is in it ends with this process, however that ends.
HANDLE JobOfWorkers() {
  static const FileHandle kJob = [] {
    FileHandle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return job;
  }();
  return kJob.get();
}

// The attributes of a new process: its job, and the handles that it inherits, as without naming
// them every process would get the pipes of those that are started at the same time.
class WorkerAttributes {
 public:
  explicit WorkerAttributes(std::array<HANDLE, 2> inherited)
      : handles(inherited), job(JobOfWorkers()) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, kCount, 0, &size);
    memory.resize(size);
    if (!InitializeProcThreadAttributeList(List(), kCount, 0, &size)) {
      Fail("cannot prepare a process");
    }
    if (!Set(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(), sizeof(handles)) ||
        !Set(PROC_THREAD_ATTRIBUTE_JOB_LIST, &job, sizeof(job))) {
      DeleteProcThreadAttributeList(List());
      Fail("cannot prepare a process");
    }
  }
  ~WorkerAttributes() { DeleteProcThreadAttributeList(List()); }
  WorkerAttributes(const WorkerAttributes&) = delete;
  WorkerAttributes& operator=(const WorkerAttributes&) = delete;

  LPPROC_THREAD_ATTRIBUTE_LIST List() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
  }

 private:
  static constexpr DWORD kCount = 2;

  bool Set(DWORD_PTR attribute, void* value, SIZE_T size) {
    return UpdateProcThreadAttribute(List(), 0, attribute, value, size, nullptr, nullptr) != 0;
  }

  std::array<HANDLE, 2> handles;
  HANDLE job;
  std::vector<unsigned char> memory;
};

Record TimeoutRecord(std::uint64_t seconds) {
  return RecordOf(Verdict::kTimedOut, 0,
                  "the verification did not end within " + std::to_string(seconds) + " s");
}

Record CrashRecord(DWORD code) {
  return RecordOf(Verdict::kCrashed, code,
                  "the process that verified the file ended with " + CodeText(code));
}

}  // namespace

// Ends the process when it takes too long or when this program is interrupted: who waits for its
// answer then sees its pipe closed.
class WorkerProcess::Watch {
 public:
  explicit Watch(WorkerProcess& watched) {
    if (!RegisterWaitForSingleObject(&wait, InterruptionEvent(), End, &watched, watched.timeout,
                                     WT_EXECUTEONLYONCE)) {
      Fail("cannot watch a process");
    }
  }
  ~Watch() { UnregisterWaitEx(wait, INVALID_HANDLE_VALUE); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  static void CALLBACK End(void* watched, BOOLEAN isTimedOut) {
    auto& worker = *static_cast<WorkerProcess*>(watched);
    worker.isTimedOut = isTimedOut != FALSE;
    TerminateProcess(worker.process.get(), 1);
  }

  HANDLE wait = nullptr;
};

WorkerProcess::WorkerProcess(const WorkerOptions& options)
    : timeout(options.timeout ? static_cast<DWORD>(*options.timeout * 1000) : INFINITE) {
  Pipe jobs;
  Pipe records;
  std::wstring commandLine = L"cifra verify --worker";
  commandLine += options.reading.isOnline ? L" --online" : L"";
  commandLine += options.reading.wantsChain ? L" --chain" : L"";
  commandLine += options.usesCatalogs ? L"" : L" --no-catalog";
  Start(commandLine, jobs.read.get(), records.write.get());
  toProcess = std::move(jobs.write);
  fromProcess = std::move(records.read);
}

// Leaves it a moment to end by itself before the job ends it.
WorkerProcess::~WorkerProcess() {
  toProcess.reset();
  WaitForSingleObject(process.get(), kMillisecondsToEnd);
}

void WorkerProcess::Start(const std::wstring& commandLine, HANDLE input, HANDLE output) {
  for (const HANDLE end : {input, output}) {
    SetHandleInformation(end, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  }
  WorkerAttributes attributes({input, output});
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof(startup);
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input;
  startup.StartupInfo.hStdOutput = output;
  startup.lpAttributeList = attributes.List();
  std::wstring line = commandLine;
  PROCESS_INFORMATION started{};
  // Without a console: Ctrl+C is for this process alone.
  if (!CreateProcessW(ProgramPath().c_str(), line.data(), nullptr, nullptr, TRUE,
                      EXTENDED_STARTUPINFO_PRESENT | DETACHED_PROCESS, nullptr, nullptr,
                      &startup.StartupInfo, &started)) {
    Fail("cannot start a process");
  }
  process.reset(started.hProcess);
  FileHandle thread(started.hThread);
}

std::optional<std::string> WorkerProcess::Ask(const Job& job) {
  ++asked;
  const Watch watch(*this);
  return WritePacket(toProcess.get(), job.Packet()) ? ReadPacket(fromProcess.get()) : std::nullopt;
}

DWORD WorkerProcess::EndCode() const {
  // A process whose answer could not be read still runs.
  if (WaitForSingleObject(process.get(), kMillisecondsToEnd) == WAIT_TIMEOUT) {
    TerminateProcess(process.get(), ERROR_INVALID_DATA);
    WaitForSingleObject(process.get(), INFINITE);
  }
  DWORD code = 0;
  GetExitCodeProcess(process.get(), &code);
  return code;
}

Record FileVerifier::Verify(const Job& job) {
  for (;;) {
    if (!process) {
      process = std::make_unique<WorkerProcess>(options);
    }
    const bool isFirst = process->Asked() == 0;
    const std::optional<std::string> packet = process->Ask(job);
    if (!packet) {
      const std::unique_ptr<WorkerProcess> ended = std::move(process);
      ThrowIfInterrupted();
      if (ended->IsTimedOut()) {
        return TimeoutRecord(options.timeout.value_or(0));
      }
      // What an earlier file damaged is not this one's fault: it gets a process of its own.
      if (isFirst) {
        return CrashRecord(ended->EndCode());
      }
      continue;
    }
    // The time may have run out just after the answer.
    if (process->Asked() >= kMostFiles || process->IsTimedOut()) {
      process.reset();
    }
    Record record = Record::parse(*packet);
    if (const auto failure = record.find("failure"); failure != record.end()) {
      throw Failure(static_cast<ExitCode>(failure->at("code").get<int>()),
                    failure->at("message").get<std::string>());
    }
    return record;
  }
}

}  // namespace client

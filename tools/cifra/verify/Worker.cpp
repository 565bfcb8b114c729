#include "verify/Worker.h"

#include <algorithm>

#include "program/CifraLibrary.h"
#include "system/Failure.h"
#include "system/Unicode.h"
#include "verify/Catalogs.h"
#include "verify/FileKind.h"
#include "verify/VerifyRecord.h"
#include "verify/WorkerProtocol.h"

namespace client {
namespace {

// Ends without the system's window and debugger: the other process tells the user.
LONG WINAPI EndCrashed(EXCEPTION_POINTERS* exception) {
  TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

// Of several catalogs that list a file the first trusted one counts, and otherwise the first.
std::optional<CatalogSignature> ReadCatalog(const CifraLibrary& library, const std::wstring& path,
                                            const ReadingOptions& options) {
  const std::optional<std::vector<std::wstring>> catalogs = FindCatalogs(path);
  if (!catalogs) {
    return std::nullopt;
  }
  CatalogSignature chosen;
  for (const std::wstring& catalog : *catalogs) {
    CatalogSignature read{ToUtf8(catalog), ReadSignatures(library, {catalog}, options)};
    const bool isTrusted = GravestOf(read.signatures).result.verdict == Verdict::kTrusted;
    if (isTrusted || chosen.path.empty()) {
      chosen = std::move(read);
    }
    if (isTrusted) {
      break;
    }
  }
  return chosen;
}

// Where no signature was found and none can be, that the platform could not look for one is no
// verdict on a signature. (It does not look into files of less than four bytes.)
void SettleUnsignable(const std::string& kind, std::uint64_t size, FileSignatures& found) {
  constexpr std::uint64_t kLeastSize = 4;
  constexpr std::uint32_t kProviderUnknown = 0x800B0001;
  Signature& first = found.verified.front();
  TrustResult& result = first.result;
  const bool isFound = found.foundByClient > 0 || first.certificate || first.signer;
  if (isFound || found.verified.size() > 1 || result.verdict != Verdict::kNotTrusted) {
    return;
  }
  if (size < kLeastSize) {
    result.verdict = Verdict::kUnsigned;
    result.words = "the file is too short to hold a signature";
  } else if (kind.empty() && result.code == kProviderUnknown) {
    result.verdict = Verdict::kUnsigned;
    result.words = "the system knows no signatures in files of this kind";
  }
}

Record Verify(const CifraLibrary& library, const ListedFile& file, std::string kind,
              const WorkerOptions& options) {
  Findings findings;
  findings.embedded = ReadSignatures(library, file, options.reading);
  SettleUnsignable(kind, SizeOf(file), findings.embedded);
  findings.kind = std::move(kind);
  if (options.usesCatalogs && GravestOf(findings.embedded).result.verdict == Verdict::kUnsigned) {
    findings.isLookedUp = true;
    findings.catalog = ReadCatalog(library, file.Path(), options.reading);
  }
  return RecordOf(findings);
}

Record Answer(const CifraLibrary& library, const Job& job, const WorkerOptions& options) {
  try {
    std::string kind = SignableKind(job.file.Path());
    if (kind.empty() && job.isSkippedUnlessSignable) {
      return {};
    }
    return Verify(library, job.file, std::move(kind), options);
  } catch (const Failure& failure) {
    if (failure.Code() != ExitCode::kCannotRead) {
      throw;
    }
    return RecordOf(Verdict::kCannotOpen, 0, failure.Message());
  }
}

std::string PacketOf(const Record& record) {
  return record.dump(-1, ' ', false, Record::error_handler_t::replace);
}

void Send(const Record& record) {
  std::string packet = PacketOf(record);
  if (packet.size() > kMostPacketBytes) {
    packet = PacketOf(RecordOf(Verdict::kCrashed, ERROR_MORE_DATA,
                               "what its signatures hold is too much to be reported"));
  }
  if (!WritePacket(GetStdHandle(STD_OUTPUT_HANDLE), packet)) {
    throw Failure::OfSystem(ExitCode::kCannotWrite, "standard output", "cannot write");
  }
}

}  // namespace

ExitCode RunWorker(const WorkerOptions& options) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  SetUnhandledExceptionFilter(EndCrashed);
  try {
    const CifraLibrary library;
    while (const std::optional<std::string> packet = ReadPacket(GetStdHandle(STD_INPUT_HANDLE))) {
      Send(Answer(library, Job::FromPacket(*packet), options));
    }
    return ExitCode::kSuccess;
  } catch (const Failure& failure) {
    Send({{"failure",
           {{"code", static_cast<int>(failure.Code())}, {"message", failure.Message()}}}});
    return failure.Code();
  }
}

}  // namespace client

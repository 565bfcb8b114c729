#include "signature/SignatureTime.h"

#include <ctime>

#include "foundation/logging/CLogDLL.h"
#include "foundation/logging/CTraceScope.h"

namespace Cifra {
namespace {

using enum logging::LogLevel;

// The name in the log is fixed: readers of the log know this step as a member of the class.
constexpr wchar_t kGetTimestamp[] = L"Cifra::DigitalSignatureObjectImplementation::GetTimestamp";

// The time of the first counter-signer that is a time-stamping authority; null when there is none.
const FILETIME* FindTimestamp(CRYPT_PROVIDER_DATA& provider, DWORD counterSigners) {
  for (DWORD i = 0; i < counterSigners; ++i) {
    const CRYPT_PROVIDER_SGNR* signer = WTHelperGetProvSignerFromChain(&provider, 0, TRUE, i);
    if (signer && signer->dwSignerType == SGNR_TYPE_TIMESTAMP) {
      return &signer->sftVerifyAsOf;
    }
  }
  return nullptr;
}

std::uint64_t MillisecondsSince1970(const SYSTEMTIME& time) {
  constexpr __time64_t kMillisecondsPerSecond = 1000;
  std::tm calendar{};
  calendar.tm_sec = time.wSecond;
  calendar.tm_min = time.wMinute;
  calendar.tm_hour = time.wHour;
  calendar.tm_mday = time.wDay;
  calendar.tm_mon = time.wMonth - 1;
  calendar.tm_year = time.wYear - 1900;
  calendar.tm_isdst = 0;
  // The runtime returns -1 for a time it cannot express, such as one before 1970. Callers get that
  // value unchanged: as an unsigned number, a time later than any real one.
  return static_cast<std::uint64_t>(_mkgmtime64(&calendar) * kMillisecondsPerSecond +
                                    time.wMilliseconds);
}

}  // namespace

std::uint64_t ReadTimestamp(CRYPT_PROVIDER_DATA& provider, const CRYPT_PROVIDER_SGNR& signer) {
  const logging::CTraceScope trace(kGetTimestamp);
  if (signer.csCounterSigners == 0) {
    logging::Log(kFailure, kGetTimestamp, L"No counter signer found.");
    return 0;
  }
  const FILETIME* fileTime = FindTimestamp(provider, signer.csCounterSigners);
  if (!fileTime) {
    logging::Log(kFailure, kGetTimestamp, L"No signer of type SGNR_TYPE_TIMESTAMP found.");
    return 0;
  }
  SYSTEMTIME time;
  if (!FileTimeToSystemTime(fileTime, &time)) {
    return 0;
  }
  logging::Log(kInformation, kGetTimestamp, L"Systemtime : %02d/%02d/%04d %02d:%02d", time.wMonth,
               time.wDay, time.wYear, time.wHour, time.wMinute);
  return MillisecondsSince1970(time);
}

}  // namespace Cifra

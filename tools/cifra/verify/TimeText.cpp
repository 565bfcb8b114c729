#include "verify/TimeText.h"

#include <algorithm>
#include <limits>

namespace client {
namespace {

std::string Digits(unsigned value, std::size_t width) {
  const std::string text = std::to_string(value);
  return std::string(width - std::min(width, text.size()), '0') + text;
}

std::string Seconds(const SYSTEMTIME& t) {
  return Digits(t.wYear, 4) + "-" + Digits(t.wMonth, 2) + "-" + Digits(t.wDay, 2) + "T" +
         Digits(t.wHour, 2) + ":" + Digits(t.wMinute, 2) + ":" + Digits(t.wSecond, 2);
}

constexpr char kUnknown[] = "unknown";

}  // namespace

FILETIME FileTimeOf(std::uint64_t milliseconds) {
  constexpr std::uint64_t kTicksIn1970 = 116444736000000000;  // since 1601, of 100 ns
  const std::uint64_t ticks = milliseconds * 10000 + kTicksIn1970;
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::string TimeText(const FILETIME& time) {
  SYSTEMTIME t{};
  return FileTimeToSystemTime(&time, &t) ? Seconds(t) + "Z" : kUnknown;
}

std::string TimeText(std::uint64_t milliseconds) {
  const FILETIME time = FileTimeOf(milliseconds);
  SYSTEMTIME t{};
  const bool isBefore1970 = milliseconds > std::numeric_limits<std::int64_t>::max();
  if (isBefore1970 || !FileTimeToSystemTime(&time, &t)) {
    return kUnknown;
  }
  return Seconds(t) + "." + Digits(t.wMilliseconds, 3) + "Z";
}

}  // namespace client

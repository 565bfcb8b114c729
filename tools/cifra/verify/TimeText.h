#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace client {

// The system's form of a time in milliseconds since 1970.
FILETIME FileTimeOf(std::uint64_t milliseconds);

// Times as ISO 8601 in UTC. Without milliseconds:
std::string TimeText(const FILETIME& time);
// With milliseconds, counted since 1970. The library cannot tell times before 1970 apart: they come
// as negative numbers, modulo 2^64, and give "unknown".
std::string TimeText(std::uint64_t milliseconds);

}  // namespace client

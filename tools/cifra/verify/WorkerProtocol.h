#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "system/FileList.h"

namespace client {

// The process that reports and those that verify exchange packets through pipes: a length of 4
// bytes, and as many bytes.

// A file to be verified.
struct Job {
  ListedFile file;
  bool isSkippedUnlessSignable = false;

  std::string Packet() const;
  static Job FromPacket(const std::string& packet);
};

// What a file makes of its record must not burden the process that reports; others have some KiB.
inline constexpr std::uint32_t kMostPacketBytes = 1U << 20;

bool WritePacket(HANDLE pipe, std::string_view packet);
// Nothing when the other end is gone, or for a packet that is too large.
std::optional<std::string> ReadPacket(HANDLE pipe);

}  // namespace client

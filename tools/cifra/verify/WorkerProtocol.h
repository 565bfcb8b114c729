#pragma once

#include <windows.h>

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

bool WritePacket(HANDLE pipe, std::string_view packet);
// Nothing when the other end is gone.
std::optional<std::string> ReadPacket(HANDLE pipe);

}  // namespace client

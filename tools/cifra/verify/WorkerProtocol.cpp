#include "verify/WorkerProtocol.h"

#include <cstdint>
#include <cstring>

#include "system/Console.h"

namespace client {
namespace {

bool ReadExactly(HANDLE pipe, char* bytes, std::size_t count) {
  while (count > 0) {
    DWORD read = 0;
    if (!ReadFile(pipe, bytes, static_cast<DWORD>(count), &read, nullptr) || read == 0) {
      return false;
    }
    bytes += read;
    count -= read;
  }
  return true;
}

}  // namespace

std::string Job::Packet() const {
  std::string packet(1, isSkippedUnlessSignable ? '1' : '0');
  packet += file.isFound ? '1' : '0';
  packet.append(reinterpret_cast<const char*>(file.name.data()),
                file.name.size() * sizeof(wchar_t));
  return packet;
}

Job Job::FromPacket(const std::string& packet) {
  constexpr std::size_t kFlags = 2;
  Job job;
  if (packet.size() >= kFlags) {
    job.isSkippedUnlessSignable = packet[0] == '1';
    job.file.isFound = packet[1] == '1';
    job.file.name.resize((packet.size() - kFlags) / sizeof(wchar_t));
    std::memcpy(job.file.name.data(), packet.data() + kFlags,
                job.file.name.size() * sizeof(wchar_t));
  }
  return job;
}

bool WritePacket(HANDLE pipe, std::string_view packet) {
  const auto size = static_cast<std::uint32_t>(packet.size());
  std::string bytes(reinterpret_cast<const char*>(&size), sizeof(size));
  return WriteTo(pipe, bytes.append(packet));
}

std::optional<std::string> ReadPacket(HANDLE pipe) {
  std::uint32_t size = 0;
  if (!ReadExactly(pipe, reinterpret_cast<char*>(&size), sizeof(size)) || size > kMostPacketBytes) {
    return std::nullopt;
  }
  std::string packet(size, '\0');
  return ReadExactly(pipe, packet.data(), size) ? std::optional(packet) : std::nullopt;
}

}  // namespace client

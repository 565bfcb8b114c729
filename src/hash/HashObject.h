#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "Cifra/ResultCodes.h"
#include "foundation/FileHandle.h"
#include "foundation/Wipe.h"
#include "foundation/logging/CLogDLL.h"
#include "foundation/string/HexText.h"
#include "framework/ExportedObject.h"

// The operations that both hash objects share. Hash is Cifra::IMd5 or Cifra::ISha256.

// Ends the running hash and replaces output with its digest in upper-case hexadecimal digits.
template <typename Hash>
void WriteHashString(Hash& hash, kx::StringT<wchar_t>& output) {
  std::uint8_t digest[Hash::kDigestBytes] = {};  // the result if the service fails
  hash.Final(digest);
  kx::FatalUnless(output.Assign(nullptr));
  for (const std::uint8_t each : digest) {
    kx::AppendHex(output, each, kx::kUpperHexDigits);
  }
}

// FileBuffer holds one piece of a file at a time. What was written to it is wiped on destruction.
class FileBuffer {
 public:
  static constexpr DWORD kBytes = 0x400000;

  FileBuffer() = default;
  FileBuffer(const FileBuffer&) = delete;
  FileBuffer& operator=(const FileBuffer&) = delete;
  ~FileBuffer() { kx::Wipe(bytes.get(), written); }

  // Reads the next piece. Returns false on failure; GetLastError tells why.
  bool ReadFrom(HANDLE file, DWORD& bytesRead) {
    const bool isRead = ReadFile(file, bytes.get(), kBytes, &bytesRead, nullptr);
    written = std::max(written, isRead ? bytesRead : kBytes);
    return isRead;
  }
  const std::uint8_t* Bytes() const { return bytes.get(); }

 private:
  std::unique_ptr<std::uint8_t[]> bytes = std::make_unique_for_overwrite<std::uint8_t[]>(kBytes);
  DWORD written = 0;
};

// Replaces output with the digest of a file, computed by a new object of class objectId: the
// caller's running hash is not affected. Log messages carry the name `function`.
template <typename Hash>
std::uint32_t HashFileContent(const wchar_t* objectId, const wchar_t* function, const wchar_t* path,
                              kx::StringT<wchar_t>& output) {
  using enum logging::LogLevel;

  logging::Log(kInformation, function, L"Checking file %s", path);
  FileBuffer buffer;
  const kx::FileHandle file = kx::OpenForReading(path, FILE_SHARE_READ, 0);
  if (!file) {
    const DWORD error = GetLastError();
    logging::Log(kFailure, function, L"The handle is not valid. Error is %d", error);
    return error;
  }
  const Cifra::CifraExportedObject<Hash> inner(objectId);
  if (!inner.iface) {
    return kCifraNotFound;
  }
  DWORD bytesRead = 0;
  do {
    if (!buffer.ReadFrom(file.Get(), bytesRead)) {
      logging::Log(kFailure, function, L"Reading from file returned false and error %d",
                   GetLastError());
      return GetLastError();  // read again: callers see the last error that log.dll leaves
    }
    if (bytesRead != 0) {
      inner.iface->Update(buffer.Bytes(), bytesRead);
    }
  } while (bytesRead == FileBuffer::kBytes);
  inner.iface->GetHashString(output);
  return kCifraSuccess;
}

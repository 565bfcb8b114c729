#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

#include "Cifra/ResultCodes.h"
#include "foundation/FileHandle.h"
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
  for (const std::uint8_t byte : digest) {
    kx::AppendHex(output, byte, kx::kUpperHexDigits);
  }
}

// Replaces output with the digest of a file, computed by a new object of class objectId: the
// caller's running hash is not affected. Log messages carry the name `function`.
template <typename Hash>
std::uint32_t HashFileContent(const wchar_t* objectId, const wchar_t* function, const wchar_t* path,
                              kx::StringT<wchar_t>& output) {
  using enum logging::LogLevel;
  constexpr DWORD kPieceBytes = 0x400000;

  logging::Log(kInformation, function, L"Checking file %s", path);
  const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(kPieceBytes);
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
    if (!ReadFile(file.get(), buffer.get(), kPieceBytes, &bytesRead, nullptr)) {
      logging::Log(kFailure, function, L"Reading from file returned false and error %d",
                   GetLastError());
      return GetLastError();  // read again: callers see the last error that log.dll leaves
    }
    if (bytesRead != 0) {
      inner.iface->Update(buffer.get(), bytesRead);
    }
  } while (bytesRead == kPieceBytes);
  inner.iface->GetHashString(output);
  return kCifraSuccess;
}

#pragma once

#include <cstddef>
#include <cstdint>

#include "Cifra/IMd5.h"
#include "Cifra/InterfaceId.h"
#include "foundation/string/StringT.h"

namespace Cifra {

// ISha256 computes the SHA-256 digest (FIPS 180-4) of bytes that come in any number of pieces, and
// of files. The work is done by the platform's hashing service (CNG); the statuses returned are its
// own, 0 for success. The object is ready to take bytes when it is made, unless the service failed:
// then every operation returns the service's status for a missing hash.
//
// Obtained from the object kSha256ObjectId.
class ISha256 {
 public:
  static constexpr InterfaceId kInterfaceId = IMd5::kInterfaceId;
  static constexpr std::size_t kDigestBytes = 32;

  // Starts over with a new hash.
  virtual std::int32_t Init() = 0;

  // Adds length bytes. After the hash has ended the service refuses.
  virtual std::int32_t Update(const std::uint8_t* bytes, std::uint32_t length) = 0;

  // Ends the hash and replaces output with the digest: 64 upper-case hexadecimal digits. A failure
  // of the service is not reported here, and gives 64 zeros or whatever the service wrote: use
  // Final to learn of it.
  virtual void GetHashString(kx::StringT<wchar_t>& output) = 0;

  // Ends the hash and writes the digest's 32 bytes. After the hash has ended the service refuses,
  // until Init is called.
  virtual std::int32_t Final(std::uint8_t (&digest)[kDigestBytes]) = 0;

  // Replaces output with the digest of a file's content. See IMd5::HashFile. A failure of the
  // service is not reported here either: the result is kCifraSuccess with a text that is not the
  // file's digest. Who must know feeds the file to Update and ends with Final.
  virtual std::uint32_t HashFile(const wchar_t* path, kx::StringT<wchar_t>& output) = 0;

 protected:
  ~ISha256() = default;
};

}  // namespace Cifra

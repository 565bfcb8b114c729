#pragma once

#include <cstddef>
#include <cstdint>

#include "Cifra/IMd5.h"
#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"
#include "foundation/string/StringT.h"

namespace Cifra {

// ISha256 computes the SHA-256 digest (FIPS 180-4) of bytes, in any number of pieces, and of files,
// with the platform's hashing service (CNG). Statuses are the service's own, 0 for success. A new
// object is ready for Update unless the service failed; every operation then returns the service's
// status for a missing hash.
//
// Obtained from the object kSha256ObjectId.
class ISha256 {
 public:
  static constexpr InterfaceId kInterfaceId = IMd5::kInterfaceId;
  static constexpr const wchar_t* kObjectId = kSha256ObjectId;
  static constexpr std::size_t kDigestBytes = 32;

  // Starts over with a new hash.
  virtual std::int32_t Init() = 0;

  // Adds length bytes. The service refuses them after the hash has ended, until Init is called.
  virtual std::int32_t Update(const std::uint8_t* bytes, std::uint32_t length) = 0;

  // Ends the hash and replaces output with the digest: 64 upper-case hexadecimal digits. A failure
  // of the service is not reported and gives 64 zeros or whatever the service wrote. To detect it,
  // use Final.
  virtual void GetHashString(kx::StringT<wchar_t>& output) = 0;

  // Ends the hash and writes the digest's 32 bytes. The service refuses a second call until Init is
  // called.
  virtual std::int32_t Final(std::uint8_t (&digest)[kDigestBytes]) = 0;

  // Replaces output with the digest of a file's content; see IMd5::HashFile. A failure of the
  // service is not reported: the result is kCifraSuccess with a text that is not the file's digest.
  // To detect such a failure, hash the file with Update and Final.
  virtual std::uint32_t HashFile(const wchar_t* path, kx::StringT<wchar_t>& output) = 0;

 protected:
  ~ISha256() = default;
};

}  // namespace Cifra

#pragma once

#include <cstddef>
#include <cstdint>

#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"
#include "foundation/string/StringT.h"

namespace Cifra {

// IMd5 computes the MD5 digest (RFC 1321) of bytes, in any number of pieces, and of files. A new
// object is ready for Update.
//
// Obtained from the object kMd5ObjectId.
class IMd5 {
 public:
  // Shared with ISha256, whose slots are the same: callers depend on asking either object for
  // either interface.
  static constexpr InterfaceId kInterfaceId{
      0x6E4FE624, 0x83FC, 0x8488, {0xF6, 0x48, 0x1B, 0x72, 0x71, 0x06, 0x47, 0x4D}};
  static constexpr const wchar_t* kObjectId = kMd5ObjectId;
  static constexpr std::size_t kDigestBytes = 16;

  // Starts over.
  virtual void Init() = 0;

  // Adds length bytes. The total is counted modulo 2^61 bytes, as the algorithm prescribes.
  virtual void Update(const std::uint8_t* bytes, std::uint32_t length) = 0;

  // Ends the hash and replaces output with the digest: 32 upper-case hexadecimal digits. Further
  // results are meaningless until Init is called.
  virtual void GetHashString(kx::StringT<wchar_t>& output) = 0;

  // Ends the hash and writes the digest's 16 bytes. Further results are meaningless until Init is
  // called.
  virtual void Final(std::uint8_t (&digest)[kDigestBytes]) = 0;

  // Replaces output with the digest of a file's content, in the form of GetHashString. This
  // object's running hash is neither used nor changed.
  //
  // Returns kCifraSuccess; the platform's error code (GetLastError) when the file at path
  // (terminated UTF-16) cannot be opened for reading or a read fails; kCifraNotFound when the
  // library's own file, or the object in it, cannot be obtained. On failure output is unchanged.
  // Throws std::bad_alloc when there is no memory for the read buffer.
  virtual std::uint32_t HashFile(const wchar_t* path, kx::StringT<wchar_t>& output) = 0;

 protected:
  ~IMd5() = default;
};

}  // namespace Cifra

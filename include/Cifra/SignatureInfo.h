#pragma once

#include <cstdint>

#include "foundation/collections/List.h"
#include "foundation/collections/Map.h"
#include "foundation/string/StringT.h"

namespace kx::rvsdk::AntivirusScan::ObjectInfo {

// SignatureInfo holds the records that describe a file's signatures: one Chain for each, the
// primary signature first, then the secondary ones by index. All records own their members by
// value.
struct SignatureInfo {
  // The values of a distinguished name by attribute type: the platform's short name (CN, O, OU, C
  // ...) or, where it has none, a dotted object identifier, which Windows writes as OID.1.2.3.4.
  // The values of a type are unique and in ascending order of their UTF-8 bytes. They are spelled
  // as in the platform's text form without surrounding blanks and quotes: a quote inside a value
  // stays doubled, and a value that is no text is # and hexadecimal digits. An attribute for which
  // the platform writes nothing is absent; a value of only blanks or quotes, such as the "" that
  // Windows may write for an empty one, becomes the empty value.
  using Name = Map<StringT<wchar_t>, List<StringT<wchar_t>>>;

  struct Certificate {
    Name issuer;
    // Lower-case hexadecimal, two digits a byte, most significant byte first, leading zeros kept.
    StringT<wchar_t> serial;
    Name subject;
  };

  struct Chain {
    // The signing certificate; empty if it could not be read.
    List<Certificate> certificates;
    // The time of the time-stamping authority's countersignature, in milliseconds since 1970-01-01
    // 00:00:00 UTC; 0 without a time stamp and for one that could not be read. A time that
    // the C runtime cannot express, before 1970 or after the year 3000, gives a number near 2^64
    // from which the time cannot be recovered.
    std::uint64_t timestamp = 0;
  };
};

}  // namespace kx::rvsdk::AntivirusScan::ObjectInfo

namespace Cifra {

using kx::rvsdk::AntivirusScan::ObjectInfo::SignatureInfo;
using Certificate = SignatureInfo::Certificate;
using Chain = SignatureInfo::Chain;

}  // namespace Cifra

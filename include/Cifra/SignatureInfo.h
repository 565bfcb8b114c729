#pragma once

#include <cstdint>

#include "foundation/collections/List.h"
#include "foundation/collections/Map.h"
#include "foundation/string/StringT.h"

namespace kx::rvsdk::AntivirusScan::ObjectInfo {

// SignatureInfo is what is known of a file's signatures: one Chain for each, the primary signature
// first, then the secondary ones by their index. All records own their members by value.
struct SignatureInfo {
  // A distinguished name by attribute type: the platform's short name (CN, O, OU, C ...) or, where
  // it has none, a dotted object identifier. The values of a type are in ascending order of their
  // UTF-8 bytes and free of duplicates. They are as the platform writes them into a name, without
  // the blanks and quotes around them: a quote inside a value stays doubled. Attributes without a
  // value are absent; one whose value is nothing but blanks or quotes has one empty value.
  using Name = Map<StringT<wchar_t>, List<StringT<wchar_t>>>;

  struct Certificate {
    Name issuer;
    // Lower-case hexadecimal, two digits a byte, most significant byte first, leading zeros kept.
    StringT<wchar_t> serial;
    Name subject;
  };

  struct Chain {
    // The signing certificate; empty when it could not be read.
    List<Certificate> certificates;
    // When a time-stamping authority countersigned, in milliseconds since 1970-01-01 00:00:00 UTC;
    // 0 without a time stamp and for one that could not be read. A time before 1970 wraps around
    // to a number near 2^64; what it was cannot be told from it.
    std::uint64_t timestamp = 0;
  };
};

}  // namespace kx::rvsdk::AntivirusScan::ObjectInfo

namespace Cifra {

using kx::rvsdk::AntivirusScan::ObjectInfo::SignatureInfo;
using Certificate = SignatureInfo::Certificate;
using Chain = SignatureInfo::Chain;

}  // namespace Cifra

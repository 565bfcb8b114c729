#pragma once

#include <cstdint>
#include <type_traits>

#include "foundation/string/StringT.h"

namespace kx {

// MapKey defines how a Map hashes and compares its keys.
template <typename K>
struct MapKey;

// A string counts up to its terminator; an unset string equals the empty one.
template <typename Char, typename MemMgr, typename Traits, int BlockVersion>
struct MapKey<StringT<Char, MemMgr, Traits, BlockVersion>> {
  using String = StringT<Char, MemMgr, Traits, BlockVersion>;

  // D. J. Bernstein's "djb2" over the code units, modulo 2^64.
  static std::uint64_t Hash(const String& key) {
    std::uint64_t hash = 5381;
    for (const Char* unit = key.CStr(); *unit; ++unit) {
      hash = hash * 33 + static_cast<std::make_unsigned_t<Char>>(*unit);
    }
    return hash;
  }

  static bool AreEqual(const String& left, const String& right) {
    return Traits::AreEqual(left.CStr(), right.CStr());
  }
};

}  // namespace kx

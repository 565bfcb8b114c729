#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/Slots.h"

namespace kx {

// IEnum walks a map. It is made by the map, positioned at the first pair, and destroyed by Release
// (see EnumPtr); the map must outlive it. Removing the pair that it stands on, otherwise than
// through it, leaves it unusable until Reset. The order of the pairs is not to be relied on.
template <typename K, typename V>
class IEnum {
 public:
  // True while the position is on a pair, false past the end.
  virtual bool IsValid() const = 0;
  // Moves to the next pair; past the end it stays there.
  virtual void Next() = 0;
  // The key and the value of the current pair, null past the end.
  virtual const K* Key() = 0;
  virtual V* Value() = 0;
  // Destroys the enumerator; called without one it does nothing.
  virtual void Release() = 0;
  // Moves back to the first pair.
  virtual void Reset() = 0;
  // The last slot, because its number of slots depends on the compiler.
  virtual ~IEnum() = default;
};

template <typename K, typename V>
using IConstEnum = IEnum<K, const V>;

// IMap holds values under unique keys. The caller may walk and change it without sharing a heap or
// a standard library with the module that made it.
//
// Keys and values are copied in and out; both keep their address until the pair is removed.
// Exhausted memory raises the standard library's exception; a key or value that is, or holds, a
// string ends the process when the string gets no memory. One thread at a time may use a map and
// its enumerators.
template <typename K, typename V>
class IMap {
 public:
  // Adds a copy of the pair; returns 0, or kCifraAlreadyExists when the key is present, which
  // leaves the value that it has.
  virtual std::uint32_t Add(const K& key, const V& value) = 0;

  // The value under the key, null when the key is absent.
  KX_SLOTS_2(virtual V* Find(const K& key) = 0, virtual const V* Find(const K& key) const = 0);

  // Copies the value under the key into out; returns 0, or kCifraNotFound when the key is absent,
  // which leaves out as it is.
  virtual std::uint32_t Get(const K& key, V& out) const = 0;

  // Removes the pair that `at` is positioned on and moves `at` to the next pair, or removes the
  // pair of a key. Returns 0, or kCifraNotFound when the enumerator is not on a pair of this map,
  // or when the key is absent.
  KX_SLOTS_2(virtual std::uint32_t Remove(IEnum<K, V>& at) = 0,
             virtual std::uint32_t Remove(const K& key) = 0);

  // New enumerators, positioned at the first pair.
  virtual IEnum<K, V>* CreateEnum() = 0;
  virtual IConstEnum<K, V>* CreateConstEnum() const = 0;

  // Removes every pair.
  virtual void Clear() = 0;
  // The number of pairs.
  virtual std::size_t Count() const = 0;

 protected:
  ~IMap() = default;
};

}  // namespace kx

#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/Slots.h"

namespace kx {

// IEnum walks a map. The map creates it, positioned at the first pair, and Release destroys it (see
// EnumPtr); the map must outlive it. If its current pair is removed other than through it, it must
// not be used until Reset. The order of the pairs is unspecified.
template <typename K, typename V>
class IEnum {
 public:
  // True while the position is on a pair, false past the end.
  virtual bool IsValid() const = 0;
  // Moves to the next pair; does nothing past the end.
  virtual void Next() = 0;
  // The key and the value of the current pair, null past the end.
  virtual const K* Key() = 0;
  virtual V* Value() = 0;
  // Destroys the enumerator; safe to call through a null pointer.
  virtual void Release() = 0;
  // Moves back to the first pair.
  virtual void Reset() = 0;
  // Last: the Itanium ABI gives a destructor two slots, the Microsoft ABI one.
  virtual ~IEnum() = default;
};

template <typename K, typename V>
using IConstEnum = IEnum<K, const V>;

// IMap maps unique keys to values. A caller may walk and change it without sharing a heap or a
// standard library with the module that created it.
//
// Keys and values are copied in and out; both keep their address until the pair is removed. Without
// memory operations throw std::bad_alloc, or end the process if the memory is for a string in a key
// or value. One thread at a time may use a map and its enumerators.
template <typename K, typename V>
class IMap {
 public:
  // Adds a copy of the pair; returns 0, or kCifraAlreadyExists, leaving its value unchanged, if the
  // key is present.
  virtual std::uint32_t Add(const K& key, const V& value) = 0;

  // Returns the value of the key, null if the key is absent.
  KX_SLOTS_2(virtual V* Find(const K& key) = 0, virtual const V* Find(const K& key) const = 0);

  // Copies the value of the key to out; returns 0, or kCifraNotFound, leaving out unchanged, if the
  // key is absent.
  virtual std::uint32_t Get(const K& key, V& out) const = 0;

  // Removes the pair at which `at` is positioned and moves `at` to the next one, or removes the
  // pair of a key. Returns 0, or kCifraNotFound if the enumerator is not on a pair of this map or
  // the key is absent.
  KX_SLOTS_2(virtual std::uint32_t Remove(IEnum<K, V>& at) = 0,
             virtual std::uint32_t Remove(const K& key) = 0);

  // Creates an enumerator positioned at the first pair; own it with EnumPtr.
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

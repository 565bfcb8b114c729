#pragma once

#include <cstdint>
#include <memory>

#include "foundation/Slots.h"

namespace kx {

// IListEnum walks a list. The list creates it, positioned at the first element, and Release
// destroys it; the list must outlive it. If its current element is removed other than through it,
// or the list is assigned to, it must not be used until Reset.
template <typename Element>
class IListEnum {
 public:
  // True while the position is on an element, false past the end.
  virtual bool IsValid() const = 0;
  // Moves to the next element; does nothing past the end.
  virtual void Next() = 0;
  // The current element, null past the end.
  virtual Element* Current() = 0;
  // Destroys the enumerator; safe to call through a null pointer.
  virtual void Release() = 0;
  // Moves back to the first element.
  virtual void Reset() = 0;
  // Last: the Itanium ABI gives a destructor two slots, the Microsoft ABI one.
  virtual ~IListEnum() = default;
};

template <typename T>
using IConstListEnum = IListEnum<const T>;

// IList is a sequence of values. A caller may walk and change it without sharing a heap or a
// standard library with the module that created it.
//
// Elements are copied in and out; an element keeps its address until it is removed. Without memory
// operations throw std::bad_alloc, or end the process if the memory is for a string in an element.
// One thread at a time may use a list and its enumerators.
template <typename T>
class IList {
 public:
  // Adds a copy of value at the end or at the front; returns 0.
  virtual std::uint32_t AddTail(const T& value) = 0;
  virtual std::uint32_t AddHead(const T& value) = 0;

  // Returns the last element, null if the list is empty; or copies it to out and returns 0, or
  // kCifraNotFound if the list is empty, leaving out unchanged.
  KX_SLOTS_3(virtual T* GetTail() = 0, virtual const T* GetTail() const = 0,
             virtual std::uint32_t GetTail(T& out) const = 0);

  // The same for the first element.
  KX_SLOTS_3(virtual T* GetHead() = 0, virtual const T* GetHead() const = 0,
             virtual std::uint32_t GetHead(T& out) const = 0);

  // Removes the element at which `at` is positioned and moves `at` to the next one; returns 0, or
  // kCifraNotFound, leaving `at` unchanged, if it is not on an element of this list. Takes time
  // linear in the element's position if `at` is another module's implementation.
  virtual std::uint32_t Remove(IListEnum<T>& at) = 0;

  // Creates an enumerator positioned at the first element; own it with EnumPtr.
  virtual IListEnum<T>* CreateEnum() = 0;
  virtual IConstListEnum<T>* CreateConstEnum() const = 0;

 protected:
  ~IList() = default;
};

// EnumPtr owns an enumerator of a list or a map.
struct EnumReleaser {
  template <typename Enumerator>
  void operator()(Enumerator* enumerator) const {
    enumerator->Release();
  }
};
template <typename Enumerator>
using EnumPtr = std::unique_ptr<Enumerator, EnumReleaser>;

}  // namespace kx

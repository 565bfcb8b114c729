#pragma once

#include <cstdint>
#include <memory>

#include "foundation/Slots.h"

namespace kx {

// IListEnum walks a list. It is made by the list, positioned at the first element, and destroyed by
// Release; the list must outlive it. Removing the element that it stands on, otherwise than through
// it, leaves it unusable until Reset.
template <typename Element>
class IListEnum {
 public:
  // True while the position is on an element, false past the end.
  virtual bool IsValid() const = 0;
  // Moves to the next element; past the end it stays there.
  virtual void Next() = 0;
  // The current element, null past the end.
  virtual Element* Current() = 0;
  // Destroys the enumerator; called without one it does nothing.
  virtual void Release() = 0;
  // Moves back to the first element.
  virtual void Reset() = 0;
  // The last slot, because its number of slots depends on the compiler.
  virtual ~IListEnum() = default;
};

template <typename T>
using IConstListEnum = IListEnum<const T>;

// IList is a sequence of values. The caller may walk and change it without sharing a heap or a
// standard library with the module that made it.
//
// Elements are copied in and out; an element keeps its address until it is removed. Exhausted
// memory raises the standard library's exception; an element that is, or holds, a string ends the
// process when the string gets no memory. One thread at a time may use a list and its
// enumerators.
template <typename T>
class IList {
 public:
  // Adds a copy of value at the end or at the front; returns 0.
  virtual std::uint32_t AddTail(const T& value) = 0;
  virtual std::uint32_t AddHead(const T& value) = 0;

  // The last element, null when the list is empty; or a copy of it in out, with the result 0, or
  // kCifraNotFound when the list is empty, which leaves out as it is.
  KX_SLOTS_3(virtual T* GetTail() = 0, virtual const T* GetTail() const = 0,
             virtual std::uint32_t GetTail(T& out) const = 0);

  // The same for the first element.
  KX_SLOTS_3(virtual T* GetHead() = 0, virtual const T* GetHead() const = 0,
             virtual std::uint32_t GetHead(T& out) const = 0);

  // Removes the element that `at` is positioned on and moves `at` to the next one; returns 0. An
  // enumerator that is not on an element of this list is left as it is, with kCifraNotFound. The
  // element is searched for from the front, so this takes as many steps as its position.
  virtual std::uint32_t Remove(IListEnum<T>& at) = 0;

  // New enumerators, positioned at the first element; see EnumPtr.
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

#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "foundation/SharedInstance.h"
#include "framework/IObjectConstructor.h"

// CriticalSection is a recursive lock.
class CriticalSection {
 public:
  CriticalSection() { InitializeCriticalSection(&section); }
  ~CriticalSection() { DeleteCriticalSection(&section); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void lock() { EnterCriticalSection(&section); }
  void unlock() { LeaveCriticalSection(&section); }

 private:
  CRITICAL_SECTION section;
};

// ObjectRegistry maps identifiers to the library's object classes. It does not own the
// constructors. Identifiers are case-sensitive and ordered by UTF-16 code unit.
class ObjectRegistry {
 public:
  // Returns kCifraAlreadyExists, changing nothing, if the identifier is taken.
  std::uint32_t Register(const wchar_t* objectId, IObjectConstructor* constructor);
  void Unregister(const wchar_t* objectId);

  // Creates an object, holding the lock: its constructor may create further objects, but only on
  // this thread. Returns null for an unknown identifier.
  IKxBaseInterface* Create(const wchar_t* objectId);
  // Has the identifier's constructor destroy the object; does nothing for an unknown identifier.
  void DestroyById(const wchar_t* objectId, IKxBaseInterface* object);

 private:
  IObjectConstructor* Find(const wchar_t* objectId) const;

  std::map<std::wstring, IObjectConstructor*, std::less<>> constructors;
  CriticalSection lock;
};

// RegistryRef keeps this library's registry alive: the first one acquired creates it, the last one
// released destroys it. Every loaded Cifra.dll has its own.
using RegistryRef = kx::SharedRef<ObjectRegistry>;

inline void AcquireRegistry(RegistryRef& ref) { ref.Acquire(); }
inline void ReleaseRegistry(RegistryRef& ref) { ref.Release(); }

#pragma once

#include <string>

#include "Cifra/Library.h"
#include "Cifra/Object.h"
#include "system/Failure.h"

namespace client {

// CifraLibrary is Cifra.dll, loaded from this program's own folder and from nowhere else. It is not
// bound at link time: the user of a copy without its DLL, or with a broken one, then reads what is
// wrong and with which file, and gets an exit code of its own, where the system's loader would end
// the process without a word. Help works without the DLL.
//
// Failures are Failure kNoLibrary.
//
// The library's own imports come from the system's folder, not from this program's.
class CifraLibrary : public Cifra::Library {
 public:
  CifraLibrary();

  // What is wrong with this library, for the user.
  Failure Unusable(const std::string& why) const;
  // That it has no such object, which KxCreateObject answered with result.
  Failure WithoutObject(const wchar_t* objectId, std::uint32_t result) const;

  const std::wstring& Path() const { return path; }
  // The version that the file states, such as "1.0.0"; empty when it states none.
  std::string Version() const;

 private:
  explicit CifraLibrary(const std::wstring& file);

  std::wstring path;
};

// CifraObject owns one object of the library and is never without it.
template <typename Interface>
class CifraObject : public Cifra::Object<Interface> {
 public:
  explicit CifraObject(const CifraLibrary& library) : Cifra::Object<Interface>(library) {
    if (!*this) {
      throw library.WithoutObject(Interface::kObjectId, this->Result());
    }
  }
};

}  // namespace client

#pragma once

#include <map>
#include <string>
#include <vector>

#include "Cifra/SignatureInfo.h"

// The results of a verification as the standard library's containers.
namespace Cifra::Test {

using Text = kx::StringT<wchar_t>;
using NameMap = std::map<std::wstring, std::vector<std::wstring>>;

inline NameMap ToStd(const Cifra::SignatureInfo::Name& name) {
  NameMap map;
  const kx::EnumPtr<kx::IConstEnum<Text, kx::List<Text>>> types(name.CreateConstEnum());
  for (; types->IsValid(); types->Next()) {
    std::vector<std::wstring>& values = map[types->Key()->CStr()];
    const kx::EnumPtr<kx::IConstListEnum<Text>> value(types->Value()->CreateConstEnum());
    for (; value->IsValid(); value->Next()) {
      values.push_back(value->Current()->CStr());
    }
  }
  return map;
}

// The chains of a list, copied through its interface.
inline std::vector<Cifra::Chain> ToStd(const kx::IList<Cifra::Chain>& list) {
  std::vector<Cifra::Chain> chains;
  const kx::EnumPtr<kx::IConstListEnum<Cifra::Chain>> chain(list.CreateConstEnum());
  for (; chain->IsValid(); chain->Next()) {
    chains.push_back(*chain->Current());
  }
  return chains;
}

}  // namespace Cifra::Test

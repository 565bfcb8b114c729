#pragma once

#include <map>
#include <set>
#include <string>

#include "foundation/string/StringT.h"

namespace kx {

// DistinguishedNameBuilder splits a distinguished name into its attributes, with the platform's
// DsGetRdnW. The platform's library is loaded and freed for each name.
class DistinguishedNameBuilder {
 public:
  // Values by attribute type, in UTF-8, both in ascending order of their bytes.
  using Attributes = std::map<std::string, std::set<std::string>>;

  // name is a text as CertNameToStrW makes it, in UTF-8. Blanks and quotes around types and
  // values are taken off. Attributes without a type or a value are left out, but one whose value
  // holds nothing but blanks or quotes is there with an empty value. Left out, too, is everything
  // behind a part that the platform cannot read. Nothing is found when the platform's library is
  // missing.
  explicit DistinguishedNameBuilder(const StringT<char>& name);

  const Attributes& Result() const { return attributes; }

 private:
  Attributes attributes;
};

}  // namespace kx

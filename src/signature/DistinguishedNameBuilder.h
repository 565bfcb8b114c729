#pragma once

#include <map>
#include <set>
#include <string>

#include "foundation/string/StringT.h"

namespace kx {

// DistinguishedNameBuilder splits a distinguished name into its attributes, with the platform's
// DsGetRdnW (Ntdsapi.dll), which is loaded and freed for each name.
class DistinguishedNameBuilder {
 public:
  // Values by attribute type, in UTF-8, both in ascending order of their bytes.
  using Attributes = std::map<std::string, std::set<std::string>>;

  // name is text from CertNameToStrW, in UTF-8. Blanks and quotes around types and values are
  // removed. Attributes without a type or a value are skipped; a value of only blanks or quotes
  // becomes the empty value. Parsing stops at the first element that the platform cannot read. The
  // result is empty when the platform's library is missing.
  explicit DistinguishedNameBuilder(const StringT<char>& name);

  const Attributes& Result() const { return attributes; }

 private:
  Attributes attributes;
};

}  // namespace kx

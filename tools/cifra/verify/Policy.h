#pragma once

#include <string>
#include <vector>

#include "verify/VerifyRecord.h"

namespace client {

// Policy is what the command line demands of a trusted file beyond trust: one of its signatures
// must fulfil all of it.
struct Policy {
  std::vector<std::string> signers;  // thumbprints, lower-case hexadecimal digits; none: anyone
  std::string minDigest;             // empty: any
  bool needsTimestamp = false;

  // Takes a thumbprint from the command line, blanks and colons left out; false when it is none.
  bool AddSigner(const std::string& thumbprint);
  // Makes the verdict on a trusted file that does not fulfil the policy the one that says so.
  void ApplyTo(Record& record) const;

 private:
  bool Fulfils(Verdict step, const Record& signature) const;
};

}  // namespace client

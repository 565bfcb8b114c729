#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Cifra::Test {

// An operation of an object or an export, to be run many times.
struct Operation {
  // Runs it and tells the result: its code, and what it wrote.
  using Body = std::function<std::string()>;

  std::string name;
  // Makes what the operation needs, which goes when the body does.
  std::function<Body()> prepare;
  // What the contract lets it answer when an import fails, as "IMPORT RESULT"; a trailing * matches
  // any rest. Always allowed are the same result as without a failure and, where there is no
  // memory, std::bad_alloc.
  std::vector<std::string> allowed;
  // Whether lack of memory, or a copy that does not fit, may end the process.
  bool mayEndProcess = false;
};

const std::vector<Operation>& Operations();

}  // namespace Cifra::Test

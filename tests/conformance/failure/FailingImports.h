#pragma once

#include <windows.h>

#include <string>
#include <vector>

// Intercepts everything that the library under test imports, and lets calls fail on order.
namespace Cifra::Test {

class FailingImports {
 public:
  // Takes the place of all functions in the import table of a module, for as long as this object
  // lives. One at a time.
  explicit FailingImports(HMODULE module);
  ~FailingImports();
  FailingImports(const FailingImports&) = delete;
  FailingImports& operator=(const FailingImports&) = delete;

  // From now on counts the calls that can fail, and lets the n-th one fail (from 1; 0 for none), or
  // that one and all later ones of the same import. The import's name is printed, since what
  // follows may end the process.
  static void Arm(int n, bool forGood);
  // Ends that; returns the name of the import that failed, or null when the n-th call was not made.
  static const char* Disarm();

  // The imports that were called and of which no rule says whether they can fail.
  std::vector<std::string> CalledWithoutRule() const;
  // The imports that can fail, by the rules.
  std::vector<std::string> WhatCanFail() const;

 private:
  struct Patch {
    void** slot;
    void* original;
  };
  struct Counter {
    std::string name;
    const long long* calls;
  };

  void Replace(const char* name, void** slot);
  void* MakeCounter(const char* name, void* target);

  std::vector<Patch> patches;
  std::vector<Counter> counters;
  std::vector<std::string> fallible;
  unsigned char* code;
  std::size_t codeUsed = 0;
};

}  // namespace Cifra::Test

#pragma once

#include <windows.h>

#include <functional>
#include <vector>

// Lets a program outlive the fatal path of the library under test.
namespace Cifra::Test {

// FatalTrap replaces the instructions with which a loaded library ends the process by others that
// raise an exception, for as long as it lives. One at a time.
class FatalTrap {
 public:
  explicit FatalTrap(HMODULE module);
  ~FatalTrap();
  FatalTrap(const FatalTrap&) = delete;
  FatalTrap& operator=(const FatalTrap&) = delete;

  // Runs body; false when it reached the fatal path. Nothing that body left unfinished is then
  // destroyed: the library must be loaded anew before it is used again.
  static bool Survives(const std::function<void()>& body);

  std::size_t Sites() const { return sites.size(); }

 private:
  std::vector<unsigned char*> sites;
  void* handler;
};

}  // namespace Cifra::Test

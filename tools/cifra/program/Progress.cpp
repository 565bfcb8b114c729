#include "program/Progress.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "system/Console.h"

namespace client {
namespace {

constexpr std::uint64_t kLeastTotal = 64ULL << 20;
constexpr std::uint64_t kMillisecondsBetween = 200;
constexpr std::size_t kBarWidth = 40;
constexpr std::size_t kLineWidth = 79;

HANDLE Screen() { return GetStdHandle(STD_ERROR_HANDLE); }

}  // namespace

bool Progress::HasScreen() { return IsConsole(Screen()); }

void Progress::Begin(std::uint64_t bytes) { total = bytes > kLeastTotal ? bytes : 0; }

void Progress::Add(std::uint64_t bytes) {
  if (total == 0) {
    return;
  }
  done = std::min(done + bytes, total);  // a file may have grown since
  const std::uint64_t now = GetTickCount64();
  if (now - lastShown >= kMillisecondsBetween) {
    lastShown = now;
    Show();
  }
}

void Progress::Show() {
  const auto filled = static_cast<std::size_t>(done * kBarWidth / total);
  const std::string line = "\r[" + std::string(filled, '#') + std::string(kBarWidth - filled, ' ') +
                           "] " + std::to_string(done * 100 / total) + "% of " +
                           std::to_string(total >> 20) + " MiB ";
  WriteTo(Screen(), line);
  isVisible = true;
}

void Progress::Hide() {
  if (isVisible) {
    WriteTo(Screen(), "\r" + std::string(kLineWidth, ' ') + "\r");
    isVisible = false;
  }
}

}  // namespace client

#include "program/Progress.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "system/Console.h"

namespace client {
namespace {

constexpr std::uint64_t kLeastTotal = 64ULL << 20;
constexpr std::uint64_t kMillisecondsBetweenBars = 200;
constexpr std::uint64_t kMillisecondsBetweenLines = 1000;
constexpr std::size_t kBarWidth = 40;
constexpr std::size_t kLineWidth = 79;

HANDLE Screen() { return GetStdHandle(STD_ERROR_HANDLE); }

}  // namespace

Command::Option AddProgressOption(Command& command, std::string& style) {
  return command.Choice("--progress", style, {kAutoProgress, kBarProgress, kJsonProgress},
                        "Show on standard error how much is done: as a bar (auto: when that is a "
                        "screen and there are more than 64 MiB to read), or as a line of JSON each "
                        "second");
}

bool Progress::HasScreen() { return IsConsole(Screen()); }

void Progress::Begin(std::uint64_t bytes) {
  total = bytes;
  isShown = style != kAutoProgress || total > kLeastTotal;
  lastShown = style == kJsonProgress ? GetTickCount64() : 0;
}

Progress::~Progress() {
  Clear();
  if (style == kJsonProgress) {
    Show();
  }
}

void Progress::Add(std::uint64_t bytes) {
  if (!isShown) {
    return;
  }
  const std::lock_guard lock(mutex);
  done += bytes;
  total = std::max(total, done);  // a file may have grown since
  const std::uint64_t now = GetTickCount64();
  const bool isJson = style == kJsonProgress;
  if (now - lastShown >= (isJson ? kMillisecondsBetweenLines : kMillisecondsBetweenBars)) {
    lastShown = now;
    Show();
  }
}

void Progress::Show() {
  if (style != kJsonProgress) {
    ShowBar();
    return;
  }
  WriteTo(Screen(), "{\"bytesDone\": " + std::to_string(done) +
                        ", \"bytesTotal\": " + std::to_string(total) + "}\n");
}

void Progress::ShowBar() {
  const std::uint64_t whole = std::max<std::uint64_t>(total, 1);
  const auto filled = static_cast<std::size_t>(done * kBarWidth / whole);
  const std::string line = "\r[" + std::string(filled, '#') + std::string(kBarWidth - filled, ' ') +
                           "] " + std::to_string(done * 100 / whole) + "% of " +
                           std::to_string(total >> 20) + " MiB ";
  WriteTo(Screen(), line);
  isVisible = true;
}

Progress::Pause Progress::Hide() {
  Pause pause(mutex);
  Clear();
  return pause;
}

void Progress::Clear() {
  if (isVisible) {
    WriteTo(Screen(), "\r" + std::string(kLineWidth, ' ') + "\r");
    isVisible = false;
  }
}

}  // namespace client

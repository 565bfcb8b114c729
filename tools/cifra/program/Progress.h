#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "program/CommandLine.h"

namespace client {

// How a command shows on standard error what it has done so far.
inline constexpr char kAutoProgress[] = "auto";  // a bar, on a screen and for long work
inline constexpr char kBarProgress[] = "bar";
inline constexpr char kJsonProgress[] = "json";  // a line each second, for programs

// Adds the option --progress.
Command::Option AddProgressOption(Command& command, std::string& style);

// Progress shows on standard error how much of a long work is done. Several threads may add to it.
class Progress {
 public:
  // The total may be costly to find out: it is asked for only when it is shown.
  template <typename Total>
  Progress(const std::string& wanted, Total countTotal) : style(wanted) {
    if (style != kAutoProgress || HasScreen()) {
      Begin(countTotal());
    }
  }
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Add(std::uint64_t bytes);

  // Takes the bar off the screen, and keeps it off for as long as the result lives: hold it while
  // something else is written.
  using Pause = std::unique_lock<std::mutex>;
  [[nodiscard]] Pause Hide();

 private:
  static bool HasScreen();
  void Begin(std::uint64_t bytes);
  void Show();
  void ShowBar();
  void Clear();

  std::string style;
  std::mutex mutex;
  bool isShown = false;
  std::uint64_t total = 0;
  std::uint64_t done = 0;
  std::uint64_t lastShown = 0;  // in milliseconds of the system's clock
  bool isVisible = false;
};

}  // namespace client

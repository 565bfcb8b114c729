#pragma once

#include <cstdint>

namespace client {

// Progress shows on standard error how much of a long work is done, when that is a screen and the
// work is more than 64 MiB.
class Progress {
 public:
  // The total may be costly to find out: it is asked for only when there is a screen.
  template <typename Total>
  explicit Progress(Total countTotal) {
    if (HasScreen()) {
      Begin(countTotal());
    }
  }
  ~Progress() { Hide(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Add(std::uint64_t bytes);
  // Takes the bar off the screen until the next step; to be called before something is written.
  void Hide();

 private:
  static bool HasScreen();
  void Begin(std::uint64_t bytes);
  void Show();

  std::uint64_t total = 0;  // 0: nothing is shown
  std::uint64_t done = 0;
  std::uint64_t lastShown = 0;  // in milliseconds of the system's clock
  bool isVisible = false;
};

}  // namespace client

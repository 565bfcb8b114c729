#pragma once

#include <windows.h>

namespace client {

// What Ctrl+C, Ctrl+Break and a closed console do: they end the program at once, with exit code
// kInterrupted. While an OrderlyEnd lives, the first one asks the run to end by itself instead, so
// that the document it writes is whole.
void HandleInterruptions();

class OrderlyEnd {
 public:
  explicit OrderlyEnd(bool isWanted = true);
  ~OrderlyEnd();
  OrderlyEnd(const OrderlyEnd&) = delete;
  OrderlyEnd& operator=(const OrderlyEnd&) = delete;

 private:
  bool isHeld;
};

// True while an OrderlyEnd lives.
bool EndsOrderly();

// Signalled once the run is asked to end.
HANDLE InterruptionEvent();

// For what Ctrl+C cut short, before or after its handler was called: Failure kInterrupted, unless
// the handler ends the program.
[[noreturn]] void AwaitInterruption();

// Failure kInterrupted when the run is asked to end.
void ThrowIfInterrupted();

}  // namespace client

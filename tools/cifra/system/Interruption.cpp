#include "system/Interruption.h"

#include <atomic>

#include "system/Failure.h"
#include "system/Handles.h"

namespace client {
namespace {

std::atomic<int> orderlyEnds = 0;

BOOL WINAPI OnControl(DWORD kind) {
  const bool isFirst = WaitForSingleObject(InterruptionEvent(), 0) == WAIT_TIMEOUT;
  if (!EndsOrderly() || !isFirst) {
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitCode::kInterrupted));
  }
  SetEvent(InterruptionEvent());
  if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT) {
    Sleep(INFINITE);  // the system ends the process when this returns, or a few seconds later
  }
  return TRUE;
}

}  // namespace

void HandleInterruptions() {
  InterruptionEvent();
  SetConsoleCtrlHandler(OnControl, TRUE);
}

OrderlyEnd::OrderlyEnd(bool isWanted) : isHeld(isWanted) { orderlyEnds += isHeld ? 1 : 0; }

OrderlyEnd::~OrderlyEnd() { orderlyEnds -= isHeld ? 1 : 0; }

bool EndsOrderly() { return orderlyEnds > 0; }

HANDLE InterruptionEvent() {
  static const FileHandle kEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  return kEvent.get();
}

void AwaitInterruption() {
  constexpr DWORD kMilliseconds = 5000;
  WaitForSingleObject(InterruptionEvent(), kMilliseconds);
  throw Failure(ExitCode::kInterrupted, "interrupted");
}

void ThrowIfInterrupted() {
  if (WaitForSingleObject(InterruptionEvent(), 0) == WAIT_OBJECT_0) {
    AwaitInterruption();
  }
}

}  // namespace client

#pragma once

#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

namespace Cifra::Test {

// CountedHeap counts the library's memory blocks by intercepting its calls of the C runtime's heap,
// and can make an allocation of the calling thread fail. One at a time.
class CountedHeap {
 public:
  explicit CountedHeap(HMODULE module = Library().Module());
  ~CountedHeap();

  // Blocks allocated and not yet freed since this object was made.
  long LiveBlocks() const;

  // The next allocations of this thread: `succeeding` get memory, then one gets none.
  void FailAfter(int succeeding);
  void FailNever();

 private:
  ImportPatch allocate;
  ImportPatch allocateZeroed;
  ImportPatch reallocate;
  ImportPatch free;
};

}  // namespace Cifra::Test

#pragma once

namespace Cifra::Test {

// Returns to target instead of its caller, by way of the return address that it keeps on the stack;
// to its caller where target is null.
void ReturnTo(void (*target)());

}  // namespace Cifra::Test

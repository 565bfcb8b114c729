#pragma once

#include <cstddef>
#include <span>

namespace client {

// Asks on the console, whatever the standard streams are, and reads one line that is not shown.
// Returns the units typed, without the line end: at most as many as the buffer holds, the rest is
// dropped. Failure kBadKey when the process has no console.
std::size_t PromptWithoutEcho(const wchar_t* prompt, std::span<wchar_t> line);

}  // namespace client

#pragma once

#include <string>
#include <vector>

namespace Cifra::Test {

// What the recording log.dll saw of a verification since the last call, in short form: "> Function"
// and "< Function" for the trace lines, "LEVEL Function: text" for the others. The class before the
// function's name, which must be there, is left off; the name builder has its full name. A line of
// another form makes the running test fail.
std::vector<std::string> TakeSignatureLog();

// The lines of these that are no trace lines.
std::vector<std::string> WithoutTraces(const std::vector<std::string>& lines);

// Loads the recording log.dll, for this process's lifetime, from the program's directory; the
// library under test then uses it.
void UseRecordingLog();

}  // namespace Cifra::Test

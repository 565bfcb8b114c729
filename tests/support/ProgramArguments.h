#pragma once

#include <filesystem>
#include <string>

namespace Cifra::Test {

// The remainder of the program argument that begins with prefix; empty without one.
std::wstring ProgramArgument(const std::wstring& prefix);

// The path of the running program.
std::filesystem::path ProgramFile();

// The Cifra.dll that the program was started with (--dll=PATH), by default the one beside it.
std::filesystem::path FileUnderTest();

}  // namespace Cifra::Test

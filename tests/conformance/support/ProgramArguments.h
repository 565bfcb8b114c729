#pragma once

#include <filesystem>
#include <string>

namespace Cifra::Test {

// The rest of the program's argument that begins with prefix; empty when there is none.
std::wstring ProgramArgument(const std::wstring& prefix);

// The path of the running program.
std::filesystem::path ProgramFile();

}  // namespace Cifra::Test

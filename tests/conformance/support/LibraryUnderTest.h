#pragma once

#include <filesystem>

#include "Cifra/Cifra.h"
#include "Cifra/Library.h"
#include "support/ProgramArguments.h"

namespace Cifra::Test {

// Loads a library, or ends the program. The library's dependencies are searched for in the ordinary
// order, because the stand-ins for the platform's are beside the program.
Cifra::Library LoadCifra(const std::filesystem::path& file = FileUnderTest());

// The library under test, loaded at its first use and kept until the program ends.
Cifra::Library& Library();

}  // namespace Cifra::Test

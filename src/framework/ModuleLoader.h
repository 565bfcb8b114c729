#pragma once

#include "foundation/ModuleHandle.h"
#include "foundation/string/StringT.h"

// LoadCifraLibrary loads "Cifra.dll" from the directory of the host program or else from that of
// this library. A file of that name beside the host program takes precedence over the running
// library. Returns null if there is neither. A directory is not searched if the path of the program
// or library in it has 260 characters or more.
//
// If the platform does not tell a module's path, the bare file name is loaded: Windows versions
// with SetDefaultDllDirectories refuse it, older ones search the ordinary directories.
kx::ModuleHandle LoadCifraLibrary();

// Appends a file name to a directory's path, with one separator between them.
void AppendFileName(kx::StringT<wchar_t>& path, const wchar_t* fileName);

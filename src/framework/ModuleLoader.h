#pragma once

#include "foundation/ModuleHandle.h"

// LoadCifraLibrary loads "Cifra.dll" from the directory of the host program or else from that of
// this library, and from nowhere else. A file of that name beside the host program takes precedence
// over the running library. Returns null if there is neither. A directory is not searched if the
// path of the program or library in it has 260 characters or more.
kx::ModuleHandle LoadCifraLibrary();

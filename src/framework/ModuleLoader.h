#pragma once

#include "foundation/ModuleHandle.h"

// LoadCifraLibrary loads "Cifra.dll" from the directory of the host program or else from that of
// this library, and from nowhere else. A file of that name beside the host program wins over the
// running library. Null when there is neither; where the path of the host program's or this
// library's own file has 260 characters or more, its directory is not searched.
kx::ModuleHandle LoadCifraLibrary();

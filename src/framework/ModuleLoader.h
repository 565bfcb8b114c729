#pragma once

#include "foundation/ModuleHandle.h"

// LoadCifraLibrary loads "Cifra.dll" from the directory of the host program or else from that of
// this library, and from nowhere else. A file of that name beside the host program wins over the
// running library. Null when there is neither; a directory whose path has 260 characters or more
// counts as having none.
ModuleHandle LoadCifraLibrary();

#pragma once

// Wine keeps what the platform has here in another header.
#include <mmsystem.h>

#pragma once

#include "program/CommandLine.h"

namespace client {

void AddHashCommand(Program& program);

}  // namespace client

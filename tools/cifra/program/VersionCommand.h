#pragma once

#include "program/CommandLine.h"

namespace client {

void AddVersionCommand(Program& program);

}  // namespace client

#pragma once

#include "program/CommandLine.h"

namespace client {

void AddVerifyCommand(Program& program);

}  // namespace client

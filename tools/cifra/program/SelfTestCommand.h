#pragma once

#include "program/CommandLine.h"

namespace client {

void AddSelfTestCommand(Program& program);

}  // namespace client

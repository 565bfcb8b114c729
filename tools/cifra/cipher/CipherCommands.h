#pragma once

#include "program/CommandLine.h"

namespace client {

// Each of these adds one command to the program.
void AddEncryptCommand(Program& program);
void AddDecryptCommand(Program& program);
void AddBase64Command(Program& program);

}  // namespace client

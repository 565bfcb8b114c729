#pragma once

#include "CommandLine.h"

namespace client {

// Each of these adds one command to the program.
void AddEncryptCommand(Program& program);
void AddDecryptCommand(Program& program);
void AddBase64Command(Program& program);
void AddHashCommand(Program& program);
void AddVerifyCommand(Program& program);
void AddVersionCommand(Program& program);

}  // namespace client

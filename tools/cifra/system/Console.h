#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace client {

// The standard streams. A console is given UTF-16 and gives UTF-16; files and pipes are passed
// bytes as they are. In the program, text is UTF-8.

bool IsConsole(HANDLE stream);

// True for standard output that is a console.
bool OutputIsScreen();

// Writes to standard output; Failure kCannotWrite when that fails.
void WriteOut(std::string_view bytes);

// Writes a message of one line, preceded by the program's name, to standard error, and the advice,
// if any, on a line of its own. Messages quote names and arguments: control characters in them are
// escaped. There is nobody left to tell when that fails.
void WriteMessage(std::string_view message, std::string_view advice = {});

// Writes to a handle that may be a console. False, with the system's last error, when it fails.
bool WriteTo(HANDLE stream, std::string_view bytes);

// Reads a line, or the first part of one that is very long, from a console. Nothing is left of it
// at the end of input (Ctrl+Z). False, with the system's last error, when it fails.
bool ReadConsoleLine(HANDLE console, std::string& line);

}  // namespace client

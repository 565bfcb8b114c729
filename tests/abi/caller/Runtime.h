#pragma once

#include <cstddef>

// What the program brings in place of a Microsoft runtime library: memory, an entry point, and
// checks that write to the standard output.
namespace Caller {

// Begins the checks of one subject.
void Subject(const char* name);

// Counts a check; says where one that fails is.
void Check(bool holds, const char* file, int line, const char* expression);

bool SameText(const wchar_t* left, const wchar_t* right);
bool SameText(const char* left, const char* right);

// The subjects, in their order; called by the entry point.
void RunAll();

}  // namespace Caller

#define CHECK(expression) Caller::Check((expression), __FILE__, __LINE__, #expression)

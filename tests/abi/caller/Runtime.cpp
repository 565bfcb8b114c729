#include "Runtime.h"

#include <windows.h>

#include <cstring>
#include <new>

extern "C" int _fltused = 0;

void* operator new(std::size_t bytes) {
  void* memory = HeapAlloc(GetProcessHeap(), 0, bytes);
  if (!memory) {
    ExitProcess(3);  // no exceptions here
  }
  return memory;
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void operator delete(void* memory) noexcept { HeapFree(GetProcessHeap(), 0, memory); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }

namespace Caller {
namespace {

unsigned passed = 0;
unsigned failed = 0;

void Write(const char* text) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written,
            nullptr);
}

void Write(unsigned number) {
  char digits[11] = {};
  char* first = digits + sizeof(digits) - 1;
  do {
    *--first = static_cast<char>('0' + number % 10);
    number /= 10;
  } while (number > 0);
  Write(first);
}

template <typename Char>
bool Same(const Char* left, const Char* right) {
  while (*left && *left == *right) {
    ++left;
    ++right;
  }
  return *left == *right;
}

}  // namespace

void Subject(const char* name) {
  Write(name);
  Write("\n");
}

void Check(bool holds, const char* file, int line, const char* expression) {
  if (holds) {
    ++passed;
    return;
  }
  ++failed;
  Write(file);
  Write(":");
  Write(static_cast<unsigned>(line));
  Write(": not so: ");
  Write(expression);
  Write("\n");
}

bool SameText(const wchar_t* left, const wchar_t* right) { return Same(left, right); }
bool SameText(const char* left, const char* right) { return Same(left, right); }

}  // namespace Caller

extern "C" void start() {
  Caller::RunAll();
  Caller::Write(Caller::passed);
  Caller::Write(" checks passed, ");
  Caller::Write(Caller::failed);
  Caller::Write(" failed\n");
  ExitProcess(Caller::failed == 0 && Caller::passed > 0 ? 0 : 1);
}

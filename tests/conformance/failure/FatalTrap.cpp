#include "FatalTrap.h"

#include <algorithm>
#include <cstring>

namespace Cifra::Test {
namespace {

// kFatal is how the library ends the process, and kTrapOffset where in it kTrap goes, an
// instruction that no processor knows.
#if defined(__aarch64__)
constexpr unsigned char kFatal[] = {0x60, 0x00, 0x3E, 0xD4};  // brk #0xf003
constexpr unsigned char kTrap[] = {0x00, 0x00, 0x00, 0x00};   // udf #0
constexpr std::size_t kTrapOffset = 0;
#else
constexpr unsigned char kFatal[] = {0xB9, 7, 0, 0, 0, 0xCD, 0x29};  // mov ecx, 7; int 29h
constexpr unsigned char kTrap[] = {0x0F, 0x0B};                     // ud2
constexpr std::size_t kTrapOffset = 5;
#endif

CONTEXT start;
volatile bool isRunning = false;
volatile bool wasFatal = false;
const std::vector<unsigned char*>* trapSites = nullptr;

LONG CALLBACK ReturnToStart(EXCEPTION_POINTERS* exception) {
  const void* address = exception->ExceptionRecord->ExceptionAddress;
  const auto isTrap = [&](const unsigned char* site) { return site + kTrapOffset == address; };
  if (!isRunning || std::none_of(trapSites->begin(), trapSites->end(), isTrap)) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  wasFatal = true;
  *exception->ContextRecord = start;
  return EXCEPTION_CONTINUE_EXECUTION;
}

void Write(unsigned char* place, const unsigned char* bytes, std::size_t count) {
  DWORD before = 0;
  VirtualProtect(place, count, PAGE_EXECUTE_READWRITE, &before);
  std::memcpy(place, bytes, count);
  VirtualProtect(place, count, before, &before);
  FlushInstructionCache(GetCurrentProcess(), place, count);
}

}  // namespace

FatalTrap::FatalTrap(HMODULE module) : handler(AddVectoredExceptionHandler(TRUE, &ReturnToStart)) {
  auto* image = reinterpret_cast<unsigned char*>(module);
  auto* headers = reinterpret_cast<IMAGE_NT_HEADERS*>(
      image + reinterpret_cast<const IMAGE_DOS_HEADER*>(image)->e_lfanew);
  const auto* section = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
      reinterpret_cast<unsigned char*>(&headers->OptionalHeader) +
      headers->FileHeader.SizeOfOptionalHeader);
  for (int i = 0; i < headers->FileHeader.NumberOfSections; ++i, ++section) {
    if ((section->Characteristics & IMAGE_SCN_MEM_EXECUTE) == 0) {
      continue;
    }
    unsigned char* place = image + section->VirtualAddress;
    unsigned char* const end = place + section->Misc.VirtualSize;
    while ((place = std::search(place, end, std::begin(kFatal), std::end(kFatal))) != end) {
      sites.push_back(place);
      Write(place + kTrapOffset, kTrap, sizeof(kTrap));
      ++place;
    }
  }
  trapSites = &sites;
}

FatalTrap::~FatalTrap() {
  RemoveVectoredExceptionHandler(handler);
  for (unsigned char* site : sites) {
    Write(site, kFatal, sizeof(kFatal));
  }
}

bool FatalTrap::Survives(const std::function<void()>& body) {
  wasFatal = false;
  RtlCaptureContext(&start);  // comes back from here a second time
  if (!wasFatal) {
    isRunning = true;
    body();
  }
  isRunning = false;
  return !wasFatal;
}

}  // namespace Cifra::Test

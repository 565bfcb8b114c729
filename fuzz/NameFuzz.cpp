#include <windows.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "Require.h"
#include "foundation/logging/CLogDLL.h"
#include "foundation/logging/CTraceScope.h"
#include "foundation/string/Utf8.h"
#include "signature/DistinguishedNameBuilder.h"

// The splitting of distinguished names, with a platform that finds the elements wherever the input
// says: empty, overlapping, past blanks and quotes, or fails.
namespace {

using Attributes = kx::DistinguishedNameBuilder::Attributes;

FuzzedDataProvider* source = nullptr;
Attributes* expected = nullptr;
int loads = 0;

// One byte for one character, so that the model needs no conversion of its own.
std::string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

std::wstring StripEnds(std::wstring text, wchar_t character) {
  while (!text.empty() && text.front() == character) {
    text.erase(text.begin());
  }
  while (!text.empty() && text.back() == character) {
    text.pop_back();
  }
  return text;
}

std::string Bare(const wchar_t* text, DWORD length) {
  return Narrow(StripEnds(StripEnds(StripEnds({text, length}, L' '), L'"'), L' '));
}

DWORD WINAPI ScriptedGetRdn(const wchar_t** name, DWORD* nameLength, const wchar_t** key,
                            DWORD* keyLength, const wchar_t** value, DWORD* valueLength) {
  if (*nameLength == 0 || source->ConsumeIntegralInRange(0, 15) == 0) {
    return ERROR_DS_NAME_UNPARSEABLE;
  }
  const DWORD taken = source->ConsumeIntegralInRange<DWORD>(1, *nameLength);
  const DWORD keyStart = source->ConsumeIntegralInRange<DWORD>(0, taken);
  const DWORD valueStart = source->ConsumeIntegralInRange<DWORD>(0, taken);
  *key = *name + keyStart;
  *keyLength = source->ConsumeIntegralInRange<DWORD>(0, taken - keyStart);
  *value = *name + valueStart;
  *valueLength = source->ConsumeIntegralInRange<DWORD>(0, taken - valueStart);
  if (*keyLength != 0 && *valueLength != 0) {
    (*expected)[Bare(*key, *keyLength)].insert(Bare(*value, *valueLength));
  }
  *name += taken;
  *nameLength -= taken;
  return ERROR_SUCCESS;
}

}  // namespace

HMODULE LoadLibraryW(const wchar_t*) {
  ++loads;
  return reinterpret_cast<HMODULE>(&loads);
}
BOOL FreeLibrary(HMODULE) { return --loads; }
void* GetProcAddress(HMODULE, const char*) { return reinterpret_cast<void*>(&ScriptedGetRdn); }

namespace kx {

StringT<char> ToUtf8(const StringT<wchar_t>& text) {
  return Narrow({text.CStr(), text.Length()}).c_str();
}
StringT<wchar_t> FromUtf8(const StringT<char>& text) {
  const std::string narrow(text.CStr(), text.Length());
  return std::wstring(narrow.begin(), narrow.end()).c_str();
}

}  // namespace kx

namespace logging {

CTraceScope::CTraceScope(const wchar_t*) : startTime(0) { displayName[0] = functionName[0] = 0; }
CTraceScope::~CTraceScope() { static_cast<void>(startTime); }
CLogDLL::CLogDLL() = default;
CLogDLL::~CLogDLL() = default;
void CLogDLL::Write(std::int32_t, LogLevel, const wchar_t*, const wchar_t*, ...) const {}
HRESULT CLogDLL::DropMessage(std::int32_t, const std::uint32_t*, HMODULE, const wchar_t*,
                             const wchar_t*, va_list) {
  return E_NOINTERFACE;
}

}  // namespace logging

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  std::string name = input.ConsumeRandomLengthString(300);
  for (char& character : name) {
    // Blanks and quotes matter; zero ends a text.
    constexpr char kCharacters[] = " \"=,ABCDEFGHIJKL";
    character = kCharacters[static_cast<unsigned char>(character) % (sizeof(kCharacters) - 1)];
  }
  Attributes model;
  source = &input;
  expected = &model;
  const kx::DistinguishedNameBuilder builder(name.c_str());
  Cifra::Fuzz::Require(builder.Result() == model);
  Cifra::Fuzz::Require(loads == 0);
  return 0;
}

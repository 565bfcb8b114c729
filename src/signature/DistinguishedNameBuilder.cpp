#include "signature/DistinguishedNameBuilder.h"

#include <string_view>

#include "foundation/ModuleHandle.h"
#include "foundation/logging/CLogDLL.h"
#include "foundation/logging/CTraceScope.h"
#include "foundation/string/Utf8.h"

namespace kx {
namespace {

constexpr wchar_t kFunction[] = L"kx::DistinguishedNameBuilder";

using DsGetRdnFunction = DWORD WINAPI(const wchar_t** name, DWORD* nameLength, const wchar_t** key,
                                      DWORD* keyLength, const wchar_t** value, DWORD* valueLength);

std::wstring_view Trimmed(std::wstring_view text, wchar_t character) {
  const std::size_t first = text.find_first_not_of(character);
  if (first == std::wstring_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(character) - first + 1);
}

// A type or value without surrounding blanks and quotes. Quotes inside it stay doubled.
std::string Element(const wchar_t* text, DWORD length) {
  const std::wstring_view bare = Trimmed(Trimmed(Trimmed({text, length}, L' '), L'"'), L' ');
  const StringT<char> utf8 = ToUtf8(StringT<wchar_t>(bare.data(), bare.size()));
  return {utf8.CStr(), utf8.Length()};
}

void Split(DsGetRdnFunction& getRdn, const StringT<wchar_t>& name,
           DistinguishedNameBuilder::Attributes& attributes) {
  const wchar_t* rest = name.CStr();
  DWORD restLength = static_cast<DWORD>(name.Length());
  bool isExhausted = false;
  // After an element without a type or value, one more call is made even when nothing is left. That
  // call must be the last: were it to succeed, so would every further one.
  while (!isExhausted) {
    isExhausted = restLength == 0;
    const wchar_t* key = nullptr;
    const wchar_t* value = nullptr;
    DWORD keyLength = 0;
    DWORD valueLength = 0;
    const DWORD error = getRdn(&rest, &restLength, &key, &keyLength, &value, &valueLength);
    if (error != ERROR_SUCCESS) {
      logging::Log(logging::LogLevel::kFailure, kFunction, L"Error %d\n", error);
      return;
    }
    // Tested before trimming: a value of only blanks or quotes adds an empty value to its type.
    if (keyLength != 0 && valueLength != 0) {
      attributes[Element(key, keyLength)].insert(Element(value, valueLength));
      isExhausted = restLength == 0;
    }
  }
}

}  // namespace

DistinguishedNameBuilder::DistinguishedNameBuilder(const StringT<char>& name) {
  const logging::CTraceScope trace(kFunction);
  const StringT<wchar_t> wideName = FromUtf8(name);
  const ModuleHandle library(LoadLibraryW(L"Ntdsapi.dll"));
  if (!library) {
    return;
  }
  auto* getRdn = FindProcedure<DsGetRdnFunction>(library.get(), "DsGetRdnW");
  if (getRdn && !wideName.IsEmpty()) {
    Split(*getRdn, wideName, attributes);
  }
}

}  // namespace kx

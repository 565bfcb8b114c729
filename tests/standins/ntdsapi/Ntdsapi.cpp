// An Ntdsapi.dll whose DsGetRdnW works as the platform documents it: it returns the key and the
// value of the first relative name, without copying, and advances to the separator after it. Wine's
// own only raises an exception.
#include <windows.h>

#include <algorithm>
#include <string_view>

namespace {

constexpr std::wstring_view kSeparators = L",;+";

std::wstring_view TrimmedLeft(std::wstring_view text) {
  return text.substr(std::min(text.find_first_not_of(L" \r\n"), text.size()));
}

std::wstring_view TrimmedRight(std::wstring_view text) {
  return text.substr(0, text.find_last_not_of(L" \r\n") + 1);
}

// The length of a value up to the separator. A separator in quotes or after a backslash belongs to
// the value. npos if a quote is not closed.
std::size_t ValueLength(std::wstring_view text) {
  bool isQuoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'\\') {
      ++i;
    } else if (text[i] == L'"') {
      isQuoted = !isQuoted;
    } else if (!isQuoted && kSeparators.find(text[i]) != std::wstring_view::npos) {
      return i;
    }
  }
  return isQuoted ? std::wstring_view::npos : text.size();
}

}  // namespace

extern "C" DWORD WINAPI StandInGetRdn(const wchar_t** name, DWORD* nameLength, const wchar_t** key,
                                      DWORD* keyLength, const wchar_t** value, DWORD* valueLength) {
  const std::wstring_view whole(*name, *nameLength);
  std::wstring_view rest = TrimmedLeft(whole);
  if (!rest.empty() && kSeparators.find(rest[0]) != std::wstring_view::npos) {
    rest = TrimmedLeft(rest.substr(1));
  }
  const std::size_t equals = rest.find(L'=');
  if (equals == 0 || equals == std::wstring_view::npos) {
    return ERROR_DS_NAME_UNPARSEABLE;
  }
  const std::wstring_view afterEquals = TrimmedLeft(rest.substr(equals + 1));
  const std::size_t length = ValueLength(afterEquals);
  if (length == std::wstring_view::npos) {
    return ERROR_DS_NAME_UNPARSEABLE;
  }
  const std::wstring_view foundKey = TrimmedRight(rest.substr(0, equals));
  const std::wstring_view foundValue = TrimmedRight(afterEquals.substr(0, length));
  *key = foundKey.data();
  *keyLength = static_cast<DWORD>(foundKey.size());
  *value = foundValue.data();
  *valueLength = static_cast<DWORD>(foundValue.size());
  *name = afterEquals.data() + length;
  *nameLength = static_cast<DWORD>(afterEquals.size() - length);
  return ERROR_SUCCESS;
}

// Marks this library as the stand-in.
extern "C" void IsStandIn() {}

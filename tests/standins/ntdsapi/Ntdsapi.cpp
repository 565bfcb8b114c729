// An Ntdsapi.dll whose DsGetRdnW works as the platform's documentation says: it finds the key and
// the value of the first relative name, copies nothing, and moves on to what follows, which begins
// with the separator. Wine's own only raises an exception.
#include <windows.h>

#include <algorithm>
#include <string_view>

namespace {

constexpr std::wstring_view kSeparators = L",;+";

std::wstring_view WithoutBlanksInFront(std::wstring_view text) {
  return text.substr(std::min(text.find_first_not_of(L" \r\n"), text.size()));
}

std::wstring_view WithoutBlanksBehind(std::wstring_view text) {
  return text.substr(0, text.find_last_not_of(L" \r\n") + 1);
}

// How many characters of a value come before the separator. A separator between quotes and one
// behind a backslash belong to the value. npos when a quote is not closed.
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
  std::wstring_view rest = WithoutBlanksInFront(whole);
  if (!rest.empty() && kSeparators.find(rest[0]) != std::wstring_view::npos) {
    rest = WithoutBlanksInFront(rest.substr(1));
  }
  const std::size_t equals = rest.find(L'=');
  if (equals == 0 || equals == std::wstring_view::npos) {
    return ERROR_DS_NAME_UNPARSEABLE;
  }
  const std::wstring_view behind = WithoutBlanksInFront(rest.substr(equals + 1));
  const std::size_t length = ValueLength(behind);
  if (length == std::wstring_view::npos) {
    return ERROR_DS_NAME_UNPARSEABLE;
  }
  const std::wstring_view foundKey = WithoutBlanksBehind(rest.substr(0, equals));
  const std::wstring_view foundValue = WithoutBlanksBehind(behind.substr(0, length));
  *key = foundKey.data();
  *keyLength = static_cast<DWORD>(foundKey.size());
  *value = foundValue.data();
  *valueLength = static_cast<DWORD>(foundValue.size());
  *name = behind.data() + length;
  *nameLength = static_cast<DWORD>(behind.size() - length);
  return ERROR_SUCCESS;
}

// Tells this library from the platform's.
extern "C" void IsStandIn() {}

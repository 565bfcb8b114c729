#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

// The text of a message: a format of Microsoft's wide printf with its arguments filled in. Text
// that cannot be formatted comes back as the bare format.
std::wstring FormatLogText(const wchar_t* format, va_list arguments);

std::string ToUtf8(std::wstring_view text);

#pragma once

#include <string>

namespace client {

// Removes blanks, tabs and line ends, which people and mail programs put into Base64 text and the
// library does not accept.
void RemoveWhiteSpace(std::string& text);

// Says, for a message, why a text without white space is not Base64.
std::string DescribeNotBase64(const std::string& text);

}  // namespace client

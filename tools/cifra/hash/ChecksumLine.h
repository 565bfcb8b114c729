#pragma once

#include <optional>
#include <string>

#include "hash/Algorithm.h"

namespace client {

// A line of a list of digests, in the form that md5sum and sha256sum write and read:
//
//   DIGEST  NAME             or, tagged,    MD5 (NAME) = DIGEST
//
// A line that begins with a backslash has a name in which line ends and backslashes are escaped.
struct ChecksumLine {
  const Algorithm* algorithm = nullptr;
  std::string digest;  // lower-case hexadecimal digits
  std::string name;    // UTF-8
};

struct ChecksumStyle {
  bool isTagged = false;
  bool isBinary = false;      // an asterisk before the name, in a line without a tag
  bool endsWithZero = false;  // lines end with a zero byte, and names are not escaped
};

// Without the line's end.
std::string FormatChecksumLine(const ChecksumLine& line, const ChecksumStyle& style);

// Reads a line, without its end. Nothing when it is not one, or not of the algorithm, if one is
// given.
std::optional<ChecksumLine> ParseChecksumLine(const std::string& text, const Algorithm* algorithm);

// Writes a name so that it stays on one line: "\n" for a line end, "\r" for a carriage return and
// two backslashes for one.
std::string EscapedName(const std::string& name);

// The text in lower case, when it consists of hexadecimal digits and nothing else.
std::optional<std::string> HexDigits(const std::string& text);

}  // namespace client

#pragma once

#include <string>
#include <string_view>

namespace client {

// ScriptSignature gives the Base64 text of the signature that a script carries in its last lines,
// as comments of its language:
//
//   # SIG # Begin signature block
//   # MIIH0QYJKoZIhvcNAQcCoIIHwjCCB74CAQEx...
//   # SIG # End signature block
//
// Empty when there is none. The script may be UTF-16 in either order, with a byte-order mark.
std::string ScriptSignature(std::string_view script);

}  // namespace client

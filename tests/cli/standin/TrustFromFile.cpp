// A wintrust.dll that asks the verified file itself. Each line of it is one signature, primary one
// first, with these fields between tabs:
//
//   results      at the first attempt, the second ..., hexadecimal, between commas
//   found        "certificate", "signer" (one without a certificate) or "nothing"
//   time         of the time stamp, in 100 ns since 1601; 0 for none
//   serial       hexadecimal
//   subject, issuer   such as CN=A, O=B
#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "standins/wintrust/TrustScript.h"

namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) {
    parts.push_back(part);
  }
  return parts;
}

std::wstring Wide(const std::string& utf8) {
  std::wstring wide(utf8.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(),
                          static_cast<int>(wide.size()))));
  return wide;
}

test::ScriptedSignature ParseSignature(const std::string& line) {
  const std::vector<std::string> fields = Split(line, '\t');
  test::ScriptedSignature signature;
  signature.results.clear();
  for (const std::string& result : Split(fields.at(0), ',')) {
    signature.results.push_back(static_cast<LONG>(std::stoul(result, nullptr, 16)));
  }
  signature.hasSigner = fields.at(1) != "nothing";
  signature.hasCertificate = fields.at(1) == "certificate";
  if (const std::uint64_t time = std::stoull(fields.at(2)); time != 0) {
    signature.counterSigners.push_back({});
    signature.counterSigners.back().time = {static_cast<DWORD>(time),
                                            static_cast<DWORD>(time >> 32)};
  }
  const std::string& serial = fields.at(3);
  for (std::size_t i = serial.size(); i >= 2; i -= 2) {  // least significant byte first
    signature.serial.push_back(static_cast<BYTE>(std::stoul(serial.substr(i - 2, 2), nullptr, 16)));
  }
  signature.subject = test::EncodedName(Wide(fields.at(4)));
  signature.issuer = test::EncodedName(Wide(fields.at(5)));
  return signature;
}

// The script of the file that is being verified.
test::TrustScript& Script(const wchar_t* path = nullptr) {
  static test::TrustScript script;
  static std::wstring current;
  if (path && current != path) {
    current = path;
    std::ifstream file{std::filesystem::path(path)};
    std::vector<test::ScriptedSignature> signatures;
    for (std::string line; std::getline(file, line);) {
      signatures.push_back(ParseSignature(line));
    }
    script.Play(std::move(signatures));
  }
  return script;
}

}  // namespace

extern "C" {

LONG WINAPI StandInVerifyTrust(HWND window, GUID* action, LPVOID data) {
  const wchar_t* path = static_cast<test::TrustDataRecord*>(data)->pFile->pcwszFilePath;
  return Script(path).Verify(window, action, data);
}

CRYPT_PROVIDER_DATA* WINAPI StandInProviderData(HANDLE state) {
  return Script().ProviderData(state);
}

CRYPT_PROVIDER_SGNR* WINAPI StandInSigner(CRYPT_PROVIDER_DATA* provider, DWORD index,
                                          BOOL isCounterSigner, DWORD counterSignerIndex) {
  return Script().Signer(provider, index, isCounterSigner, counterSignerIndex);
}

CRYPT_PROVIDER_CERT* WINAPI StandInCertificate(CRYPT_PROVIDER_SGNR* signer, DWORD index) {
  return Script().Certificate(signer, index);
}

}  // extern "C"

// Tells this library from the platform's.
extern "C" void IsStandIn() {}

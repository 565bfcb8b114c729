// A wintrust.dll that asks the verified file itself. Each line of it is one signature, primary one
// first, with these fields between tabs:
//
//   results      at the first attempt, the second ..., hexadecimal, between commas
//   found        "certificate", "signer" (one without a certificate) or "nothing"
//   time         of the time stamp, in 100 ns since 1601; 0 for none
//   serial       hexadecimal
//   subject, issuer   such as CN=A, O=B; %0A stands for a line feed, and so on
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

// %0A and the like as the characters that they stand for.
std::string Decoded(const std::string& text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      decoded += static_cast<char>(std::stoul(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

Cifra::Test::ScriptedSignature ParseSignature(const std::string& line) {
  const std::vector<std::string> fields = Split(line, '\t');
  Cifra::Test::ScriptedSignature signature;
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
  signature.subject = Cifra::Test::EncodedName(Wide(Decoded(fields.at(4))));
  signature.issuer = Cifra::Test::EncodedName(Wide(Decoded(fields.at(5))));
  return signature;
}

class FilePlayer final : public Cifra::Test::TrustScript {
 public:
  LONG Verify(HWND window, const GUID* action, void* data) override {
    Load(static_cast<const Cifra::Test::TrustDataRecord*>(data)->pFile->pcwszFilePath);
    return TrustScript::Verify(window, action, data);
  }

 private:
  void Load(const std::wstring& path) {
    if (path == current) {
      return;
    }
    current = path;
    std::ifstream file{std::filesystem::path(path)};
    std::vector<Cifra::Test::ScriptedSignature> inFile;
    for (std::string line; std::getline(file, line);) {
      inFile.push_back(ParseSignature(line));
    }
    Play(std::move(inFile));
  }

  std::wstring current;
};

}  // namespace

Cifra::Test::ITrustPlayer& Cifra::Test::Player() {
  static FilePlayer player;
  return player;
}

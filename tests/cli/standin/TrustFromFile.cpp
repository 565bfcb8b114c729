// A wintrust.dll that asks the verified file itself. Each line of it is one signature, primary one
// first, with these fields between tabs:
//
//   results      at the first attempt, the second ..., hexadecimal, between commas
//   found        "certificate", "signer" (one without a certificate) or "nothing"
//   time         of the time stamp, in 100 ns since 1601; 0 for none
//   serial       hexadecimal
//   subject, issuer   such as CN=A, O=B; %0A stands for a line feed, and so on
//   certificate  optional: the file of the encoded certificate, beside this one
//
// The results may be "crash". A line of "sleep" and a number of milliseconds comes to its end after
// that time. A line of "catalog", an algorithm and a path says which catalog lists
// the file by a digest of that algorithm.
#include <windows.h>
// After windows.h:
#include <wincrypt.h>
// After wincrypt.h:
#include <mscat.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
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

std::vector<BYTE> ReadBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

constexpr char kCatalog[] = "catalog\t";
constexpr char kCrash[] = "crash\t";
constexpr char kSleep[] = "sleep\t";

[[noreturn]] void Crash() {
  RaiseException(static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION), EXCEPTION_NONCONTINUABLE, 0,
                 nullptr);
  std::abort();
}

Cifra::Test::ScriptedSignature ParseSignature(const std::filesystem::path& path,
                                              const std::string& line) {
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
  if (fields.size() > 6) {
    signature.certificate = ReadBytes(std::filesystem::path(path).replace_filename(fields[6]));
  }
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
      if (line.starts_with(kCrash)) {
        Crash();
      }
      if (line.starts_with(kSleep)) {
        Sleep(static_cast<DWORD>(std::stoul(line.substr(sizeof(kSleep) - 1))));
      } else if (!line.starts_with(kCatalog)) {
        inFile.push_back(ParseSignature(path, line));
      }
    }
    Play(std::move(inFile));
  }

  std::wstring current;
};

// An administrator's context is the algorithm's name; a digest is the path of a catalog; a catalog
// is that path with a terminator, in memory of its own.
std::wstring Algorithm(HCATADMIN context) { return static_cast<wchar_t*>(context); }

std::string ReadAll(HANDLE file) {
  std::string text(4096, '\0');
  DWORD read = 0;
  ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
  text.resize(read);
  return text;
}

}  // namespace

extern "C" {

BOOL WINAPI StandInAcquire(HCATADMIN* context, const GUID*, PCWSTR algorithm, const void*, DWORD) {
  *context = const_cast<wchar_t*>(algorithm);
  return TRUE;
}

BOOL WINAPI StandInRelease(HCATADMIN, DWORD) { return TRUE; }

BOOL WINAPI StandInDigest(HCATADMIN context, HANDLE file, DWORD* size, BYTE* digest, DWORD) {
  std::string path = "none";
  std::istringstream lines(ReadAll(file));
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> fields = Split(line, '\t');
    if (fields[0] == "catalog" && Wide(fields.at(1)) == Algorithm(context)) {
      path = fields.at(2);
    }
  }
  if (path.size() > *size) {
    return FALSE;
  }
  *size = static_cast<DWORD>(path.size());
  std::copy(path.begin(), path.end(), digest);
  return TRUE;
}

HCATINFO WINAPI StandInEnumerate(HCATADMIN, BYTE* digest, DWORD size, DWORD, HCATINFO* previous) {
  if (previous && *previous) {
    delete static_cast<std::wstring*>(*previous);
    return nullptr;
  }
  const std::string path(digest, digest + size);
  return path == "none" ? nullptr : new std::wstring(Wide(path));
}

BOOL WINAPI StandInInformation(HCATINFO catalog, CATALOG_INFO* information, DWORD) {
  const auto& path = *static_cast<std::wstring*>(catalog);
  path.copy(information->wszCatalogFile, path.size());
  information->wszCatalogFile[path.size()] = 0;
  return TRUE;
}

BOOL WINAPI StandInReleaseCatalog(HCATADMIN, HCATINFO catalog, DWORD) {
  delete static_cast<std::wstring*>(catalog);
  return TRUE;
}

}  // extern "C"

Cifra::Test::ITrustPlayer& Cifra::Test::Player() {
  static FilePlayer player;
  return player;
}

#include "program/CifraLibrary.h"

#include <cstring>

#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

std::wstring PathBesideThisProgram(const wchar_t* fileName) {
  const std::wstring path = ProgramPath();
  return path.substr(0, path.find_last_of(L"\\/") + 1) + fileName;
}

}  // namespace

CifraLibrary::CifraLibrary() : CifraLibrary(PathBesideThisProgram(L"Cifra.dll")) {}

CifraLibrary::CifraLibrary(const std::wstring& file)
    : Cifra::Library(file, LOAD_LIBRARY_SEARCH_SYSTEM32), path(file) {
  if (MissingExport()) {
    throw Unusable(std::string("is not a Cifra library: it does not export ") + MissingExport());
  }
  if (!*this) {
    throw Failure::OfSystem(ExitCode::kNoLibrary, ToUtf8(path), "cannot load the library", Error());
  }
}

Failure CifraLibrary::Unusable(const std::string& why) const {
  return {ExitCode::kNoLibrary, ToUtf8(path) + ": " + why};
}

Failure CifraLibrary::WithoutObject(const wchar_t* objectId, std::uint32_t result) const {
  if (result == kCifraSuccess) {
    return Unusable("its object " + ToUtf8(objectId) + " is not the one of Cifra");
  }
  return Unusable("has no object " + ToUtf8(objectId) + " (error " + std::to_string(result) + ")");
}

// From the loaded module: version.dll, which reads files, would be one more library to load.
std::string CifraLibrary::Version() const {
  struct Resource {  // VS_VERSIONINFO of the documentation, as far as it is of fixed size
    WORD length;
    WORD valueLength;
    WORD type;
    WCHAR key[16];
    WORD padding;
    VS_FIXEDFILEINFO info;
  };
  constexpr DWORD kSignature = 0xFEEF04BD;
  const HRSRC found = FindResourceW(Module(), MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
  const HGLOBAL loaded = found ? LoadResource(Module(), found) : nullptr;
  if (!loaded || SizeofResource(Module(), found) < sizeof(Resource)) {
    return {};
  }
  Resource resource{};
  std::memcpy(&resource, LockResource(loaded), sizeof(resource));
  const VS_FIXEDFILEINFO& info = resource.info;
  if (info.dwSignature != kSignature) {
    return {};
  }
  return std::to_string(HIWORD(info.dwProductVersionMS)) + "." +
         std::to_string(LOWORD(info.dwProductVersionMS)) + "." +
         std::to_string(HIWORD(info.dwProductVersionLS));
}

}  // namespace client

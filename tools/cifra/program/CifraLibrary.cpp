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

CifraLibrary::CifraLibrary() : path(PathBesideThisProgram(L"Cifra.dll")) {
  module.reset(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
  if (!module) {
    throw Failure::OfSystem(ExitCode::kNoLibrary, ToUtf8(path), "cannot load the library");
  }
  createObject = Resolve<KxCreateObjectFunction*>("KxCreateObject");
  destroyObject = Resolve<KxDestroyObjectFunction*>("KxDestroyObject");
}

void* CifraLibrary::AddressOf(const char* name) const {
  void* const address = reinterpret_cast<void*>(GetProcAddress(module.get(), name));
  if (!address) {
    throw Unusable(std::string("is not a Cifra library: it does not export ") + name);
  }
  return address;
}

Failure CifraLibrary::Unusable(const std::string& why) const {
  return {ExitCode::kNoLibrary, ToUtf8(path) + ": " + why};
}

IKxBaseInterface* CifraLibrary::Create(const wchar_t* objectId) const {
  void* object = nullptr;
  const std::uint32_t result = createObject(objectId, &IKxBaseInterface::kInterfaceId, &object);
  if (result != kCifraSuccess || !object) {
    throw Unusable("has no object " + ToUtf8(objectId) + " (error " + std::to_string(result) + ")");
  }
  return static_cast<IKxBaseInterface*>(object);
}

void CifraLibrary::Destroy(const wchar_t* objectId, IKxBaseInterface* object) const {
  destroyObject(objectId, object);
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
  const HRSRC found = FindResourceW(module.get(), MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
  const HGLOBAL loaded = found ? LoadResource(module.get(), found) : nullptr;
  if (!loaded || SizeofResource(module.get(), found) < sizeof(Resource)) {
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

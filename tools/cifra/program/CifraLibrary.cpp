#include "program/CifraLibrary.h"

#include <vector>

#include "system/Unicode.h"

namespace client {
namespace {

std::wstring PathBesideThisProgram(const wchar_t* fileName) {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = 0;
  while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) ==
         path.size()) {
    path.resize(path.size() * 2);
  }
  path.resize(length);
  return path.substr(0, path.find_last_of(L"\\/") + 1) + fileName;
}

}  // namespace

CifraLibrary::CifraLibrary() : path(PathBesideThisProgram(L"Cifra.dll")) {
  module.reset(LoadLibraryExW(path.c_str(), nullptr,
                              LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32));
  if (!module) {
    throw Failure::OfSystem(ExitCode::kNoLibrary, ToUtf8(path), "cannot load the library");
  }
  createObject = Resolve<KxCreateObjectFunction>("KxCreateObject");
  destroyObject = Resolve<KxDestroyObjectFunction>("KxDestroyObject");
}

template <typename Function>
Function* CifraLibrary::Resolve(const char* name) const {
  void* const address = reinterpret_cast<void*>(GetProcAddress(module.get(), name));
  if (!address) {
    throw Unusable(std::string("is not a Cifra library: it does not export ") + name);
  }
  return reinterpret_cast<Function*>(address);
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

std::string CifraLibrary::Version() const {
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), nullptr);
  std::vector<unsigned char> resource(size);
  VS_FIXEDFILEINFO* info = nullptr;
  UINT infoSize = 0;
  if (size == 0 || !GetFileVersionInfoW(path.c_str(), 0, size, resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&info), &infoSize)) {
    return {};
  }
  return std::to_string(HIWORD(info->dwProductVersionMS)) + "." +
         std::to_string(LOWORD(info->dwProductVersionMS)) + "." +
         std::to_string(HIWORD(info->dwProductVersionLS));
}

}  // namespace client

// A substitute for Cifra.dll. A test recognises its objects by the text they return.
#include <cstdint>
#include <cwchar>

#include "Cifra/Factory.h"
#include "Cifra/Functions.h"
#include "Cifra/IBlowfishAndBase64.h"

namespace {

class OtherObject final : public IKxBaseInterface, public Cifra::IBlowfishAndBase64 {
 public:
  void* QueryInterface(const InterfaceId& iid) override {
    if (iid == IKxBaseInterface::kInterfaceId) {
      return static_cast<IKxBaseInterface*>(this);
    }
    return iid == Cifra::IBlowfishAndBase64::kInterfaceId
               ? static_cast<Cifra::IBlowfishAndBase64*>(this)
               : nullptr;
  }
  std::uint32_t SetKey(const std::uint8_t*, std::uint32_t) override { return 1; }
  std::uint32_t EncodeText(const wchar_t*, wchar_t* destination, std::uint32_t size) override {
    wcscpy_s(destination, size, L"made by another library");
    return 1;
  }
  std::uint32_t DecodeToBytes(const char*, std::uint64_t, std::string&) override { return 0; }
  std::uint32_t DecodeText(const wchar_t*, wchar_t*, std::uint32_t) override { return 0; }
};

OtherObject theObject;

}  // namespace

std::uint32_t KxCreateObject(const wchar_t*, const InterfaceId* iid, void** result) {
  *result = theObject.QueryInterface(*iid);
  return kCifraSuccess;
}

void KxDestroyObject(const wchar_t*, IKxBaseInterface*) {}

// A Cifra.dll has all six exports.
std::uint32_t BlowfishAndBase64Encode(const char*, const char*, char*, std::int32_t) {
  return kCifraFunctionFailed;
}
std::uint32_t Base64AndBlowfishDecode(const char*, const char*, char*, std::int32_t) {
  return kCifraFunctionFailed;
}
std::uint32_t CalculateTextMd5(const char*, char*) { return kCifraFunctionFailed; }
std::uint32_t CalculateWideCharTextMd5(const wchar_t*, char*) { return kCifraFunctionFailed; }

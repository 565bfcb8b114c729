#include <cstring>

#include "Cifra/Functions.h"
#include "Cifra/IMd5.h"
#include "Cifra/ObjectIds.h"
#include "foundation/BoundedCopy.h"
#include "foundation/Wiped.h"
#include "foundation/string/Utf8.h"
#include "framework/ExportedObject.h"

namespace {

constexpr std::size_t kOutputBytes = 2 * Cifra::IMd5::kDigestBytes + 1;

}  // namespace

uint32_t CalculateTextMd5(const char* text, char* output) {
  const Cifra::CifraExportedObject<Cifra::IMd5> object(Cifra::kMd5ObjectId);
  if (!object.iface) {
    *output = 0;
    return kCifraNotFound;
  }
  if (text) {
    object.iface->Update(reinterpret_cast<const std::uint8_t*>(text),
                         static_cast<std::uint32_t>(std::strlen(text)));
  }
  kx::StringT<wchar_t> digest;
  object.iface->GetHashString(digest);
  kx::StringT<char> narrow = kx::ToUtf8(digest);
  _strlwr(narrow.GetBuffer(0));
  kx::CopyBounded(output, kOutputBytes, narrow.CStr());
  return kCifraSuccess;
}

uint32_t CalculateWideCharTextMd5(const wchar_t* text, char* output) {
  const kx::Wiped<kx::StringT<wchar_t>> wide(text);
  const kx::Wiped<kx::StringT<char>> utf8(kx::ToUtf8(wide));
  return CalculateTextMd5(utf8.CStr(), output);
}

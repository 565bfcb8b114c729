// A program under the Microsoft ABI that is linked with the package's Cifra.lib. It brings what it
// would take from a C++ runtime, and ends with 0 when the library did what it should.
#include <Cifra/Cifra.h>

extern "C" {
__declspec(dllimport) void* HeapAlloc(void* heap, unsigned long flags, unsigned long long bytes);
__declspec(dllimport) int HeapFree(void* heap, unsigned long flags, void* block);
__declspec(dllimport) void* GetProcessHeap();
__declspec(dllimport) __declspec(noreturn) void ExitProcess(unsigned code);
int _fltused = 0;
}

void* operator new(std::size_t bytes) { return HeapAlloc(GetProcessHeap(), 0, bytes); }
void operator delete(void* block) noexcept { HeapFree(GetProcessHeap(), 0, block); }
void operator delete(void* block, std::size_t) noexcept { HeapFree(GetProcessHeap(), 0, block); }

namespace {

bool IsText(const wchar_t* text, const char* expected) {
  while (*expected && *text == static_cast<wchar_t>(*expected)) {
    ++text;
    ++expected;
  }
  return *text == 0 && *expected == 0;
}

bool HashesText() {
  char digest[33];
  wchar_t wide[33];
  if (CalculateTextMd5("abc", digest) != kCifraSuccess) {
    return false;
  }
  for (int i = 0; i < 33; ++i) {
    wide[i] = static_cast<wchar_t>(digest[i]);
  }
  return IsText(wide, "900150983cd24fb0d6963f7d28e17f72");
}

bool HashesWithAnObject() {
  const Cifra::ObjectFactory factory{KxCreateObject, KxDestroyObject};
  const Cifra::Object<Cifra::IMd5> hash(factory);
  if (!hash) {
    return false;
  }
  hash->Update(reinterpret_cast<const std::uint8_t*>("abc"), 3);
  kx::StringT<wchar_t> digest;
  hash->GetHashString(digest);
  return IsText(digest.CStr(), "900150983CD24FB0D6963F7D28E17F72");
}

bool EncryptsWithAnObject() {
  const Cifra::ObjectFactory factory{KxCreateObject, KxDestroyObject};
  const Cifra::Object<Cifra::IBlowfishAndBase64> cipher(factory);
  const auto* key = reinterpret_cast<const std::uint8_t*>("a key of up to 56 bytes");
  wchar_t encrypted[64];
  wchar_t text[64];
  return cipher && cipher->SetKey(key, 23) == 1 &&
         cipher->EncodeText(L"meet me at noon", encrypted, 64) == 1 &&
         IsText(encrypted, "40Ud1Hmcvw/uV29sje2MKg==") &&
         cipher->DecodeText(encrypted, text, 64) == 1 && IsText(text, "meet me at noon");
}

}  // namespace

extern "C" void start() {
  ExitProcess(HashesText() && HashesWithAnObject() && EncryptsWithAnObject() ? 0 : 1);
}

#include <cstring>

#include "Library.h"

// The factory, the four functions and the interfaces whose operations take plain data and strings.
namespace Caller {
namespace {

constexpr wchar_t kAbcMd5[] = L"900150983CD24FB0D6963F7D28E17F72";
constexpr wchar_t kAbcSha256[] =
    L"BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD";
constexpr std::uint8_t kAbc[] = {'a', 'b', 'c'};

// Each operation once; the file beside the program holds the same three bytes.
template <typename Hash>
void CheckHash(const wchar_t* digestText) {
  const Object<Hash> hash;
  Text text;
  hash->Init();
  hash->Update(kAbc, 1);
  hash->Update(kAbc + 1, 2);
  hash->GetHashString(text);
  CHECK(SameText(digestText, text.CStr()));

  std::uint8_t digest[Hash::kDigestBytes] = {};
  hash->Init();
  hash->Update(kAbc, sizeof(kAbc));
  hash->Final(digest);
  wchar_t lastByte[3] = {};
  wsprintfW(lastByte, L"%02X", digest[Hash::kDigestBytes - 1]);
  CHECK(SameText(digestText + 2 * (Hash::kDigestBytes - 1), lastByte));

  CHECK(hash->HashFile(L"no such file", text) == ERROR_FILE_NOT_FOUND);
  text = L"";
  CHECK(hash->HashFile(L"abc.txt", text) == kCifraSuccess);
  CHECK(SameText(digestText, text.CStr()));
}

}  // namespace

void CheckHashes() {
  Subject("IMd5, ISha256");
  CheckHash<Cifra::IMd5>(kAbcMd5);
  CheckHash<Cifra::ISha256>(kAbcSha256);
  void* unknown = &unknown;
  CHECK(Factory().create(L"Cifra.Unknown", &IKxBaseInterface::kInterfaceId, &unknown) ==
        kCifraNotFound);
  CHECK(unknown == nullptr);
}

// Of IBlowfish and IBase64 the operations without a standard container: those after overloads are
// in the right slot only when the overloads are.
void CheckCipher() {
  Subject("IBlowfish, IBase64, IBlowfishAndBase64");
  const std::uint8_t key[] = "a key";
  const Object<Cifra::IBlowfish> blowfish;
  blowfish->SetKey(key, 5);
  const Object<Cifra::IBase64> base64;
  CHECK(base64->GetDecodedSize(8) == 6);

  const Object<Cifra::IBlowfishAndBase64> both;
  CHECK(both->SetKey(key, 57) == 0);
  CHECK(both->SetKey(key, 5) == 1);
  wchar_t encoded[64] = {};
  wchar_t decoded[64] = {};
  CHECK(both->EncodeText(L"Gr\u00FC\u00DFe", encoded, 64) == 1);
  CHECK(encoded[0] != 0);
  CHECK(both->DecodeText(encoded, decoded, 64) == 1);
  CHECK(SameText(L"Gr\u00FC\u00DFe", decoded));
}

void CheckFunctions() {
  Subject("the four functions");
  char encoded[64] = {};
  char decoded[64] = {};
  CHECK(Export<CifraTextCipherFunction>("BlowfishAndBase64Encode") != nullptr);
  CHECK(Export<decltype(BlowfishAndBase64Encode)>("BlowfishAndBase64Encode")(
            "a text", "a key", encoded, 64) == kCifraSuccess);
  CHECK(Export<decltype(Base64AndBlowfishDecode)>("Base64AndBlowfishDecode")(
            encoded, "a key", decoded, 64) == kCifraSuccess);
  CHECK(SameText("a text", decoded));
  char digest[33] = {};
  CHECK(Export<decltype(CalculateTextMd5)>("CalculateTextMd5")("abc", digest) == kCifraSuccess);
  CHECK(SameText("900150983cd24fb0d6963f7d28e17f72", digest));
  std::memset(digest, 0, sizeof(digest));
  CHECK(Export<decltype(CalculateWideCharTextMd5)>("CalculateWideCharTextMd5")(L"abc", digest) ==
        kCifraSuccess);
  CHECK(SameText("900150983cd24fb0d6963f7d28e17f72", digest));
}

// A string's memory is managed through the table of whoever allocated it.
void CheckStrings() {
  Subject("kx::StringT");
  const Object<Cifra::IMd5> md5;

  Text filledByLibrary;
  md5->GetHashString(filledByLibrary);
  const kx::IMemMgr* own = &kx::defaultMemMgr<kx::StringMemMgr>;
  const auto managerOf = [](const Text& text) {
    return kx::StringBlock<wchar_t>::HeaderOf(text.CStr())->memMgr;
  };
  CHECK(managerOf(filledByLibrary) != own);
  CHECK(filledByLibrary.Length() == 32);
  for (int i = 0; i < 100; ++i) {
    CHECK(filledByLibrary.Append(L" and more of it"));
  }
  CHECK(filledByLibrary.Length() == 32 + 100 * 15);
  CHECK(managerOf(filledByLibrary) != own);
  Text copy = filledByLibrary;
  CHECK(managerOf(copy) == own);
  CHECK(SameText(filledByLibrary.CStr(), copy.CStr()));

  Text grownByLibrary = L"x";
  CHECK(grownByLibrary.SetBuffer(2, true));
  md5->GetHashString(grownByLibrary);
  CHECK(managerOf(grownByLibrary) == own);
  CHECK(grownByLibrary.Length() == 32);

  kx::IMemMgr* manager = managerOf(filledByLibrary);
  void* block = manager->Allocate(8);
  std::memcpy(block, "1234567", 8);
  block = manager->Reallocate(block, 4000);
  CHECK(SameText("1234567", static_cast<const char*>(block)));
  manager->Free(block);
  manager->Release();
}

void RunAll() {
  CheckHashes();
  CheckCipher();
  CheckFunctions();
  CheckStrings();
  CheckSignatures();
}

}  // namespace Caller

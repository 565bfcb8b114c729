/* Cifra.dll from C: its four functions, and an object by its slots:  UseFromC TEXT */
#include <windows.h>
#include <Cifra/Functions.h>
#include <stdio.h>

/* An object is a pointer to a table of functions; each takes the object first. The slots are in the
 * order of declaration in IMd5.h. Those that are not called here keep their places. */
typedef struct Md5 {
  const struct Md5Slots* slots;
} Md5;
struct Md5Slots {
  void (*init)(Md5* self);
  void (*update)(Md5* self, const uint8_t* bytes, uint32_t length);
  void (*getHashString)(Md5* self, void* string);
  void (*final)(Md5* self, uint8_t* digest);
  uint32_t (*hashFile)(Md5* self, const wchar_t* path, void* string);
};

typedef struct Base {
  const struct BaseSlots* slots;
} Base;
struct BaseSlots {
  void* (*queryInterface)(Base* self, const GUID* iid);
};

typedef uint32_t (*CreateFunction)(const wchar_t* objectId, const GUID* iid, void** result);
typedef void (*DestroyFunction)(const wchar_t* objectId, Base* object);

static const GUID kBaseId = {
    0x66551AB3, 0xFCA3, 0xBC90, {0x5F, 0x42, 0xC5, 0xF7, 0x92, 0xE2, 0x4B, 0x51}};
static const GUID kMd5Id = {
    0x6E4FE624, 0x83FC, 0x8488, {0xF6, 0x48, 0x1B, 0x72, 0x71, 0x06, 0x47, 0x4D}};
static const wchar_t kMd5ObjectId[] = L"Cifra.Md5";

static int ByFunctions(HMODULE library, const wchar_t* wideText, const char* text) {
  static const char kKey[] = "a key of up to 56 bytes";
  char encrypted[1100];
  char decrypted[4096];
  char digest[33];
  char wideDigest[33];
  const CifraTextCipherFunction encode =
      (CifraTextCipherFunction)(void*)GetProcAddress(library, "BlowfishAndBase64Encode");
  const CifraTextCipherFunction decode =
      (CifraTextCipherFunction)(void*)GetProcAddress(library, "Base64AndBlowfishDecode");
  const CifraTextMd5Function md5 =
      (CifraTextMd5Function)(void*)GetProcAddress(library, "CalculateTextMd5");
  const CifraWideTextMd5Function wideMd5 =
      (CifraWideTextMd5Function)(void*)GetProcAddress(library, "CalculateWideCharTextMd5");
  if (!encode || !decode || !md5 || !wideMd5 ||
      encode(text, kKey, encrypted, (int32_t)sizeof(encrypted)) != kCifraSuccess ||
      decode(encrypted, kKey, decrypted, (int32_t)sizeof(decrypted)) != kCifraSuccess ||
      md5(text, digest) != kCifraSuccess || wideMd5(wideText, wideDigest) != kCifraSuccess) {
    return 1;
  }
  printf("%s\n%s\n%s\n%s\n", encrypted, decrypted, digest, wideDigest);
  return 0;
}

static int ByObject(HMODULE library, const char* text) {
  const CreateFunction create = (CreateFunction)(void*)GetProcAddress(library, "KxCreateObject");
  const DestroyFunction destroy =
      (DestroyFunction)(void*)GetProcAddress(library, "KxDestroyObject");
  void* object = NULL;
  Base* base;
  Md5* md5;
  uint8_t digest[16];
  int i;
  if (!create || !destroy || create(kMd5ObjectId, &kBaseId, &object) != kCifraSuccess) {
    return 1;
  }
  base = (Base*)object;
  md5 = (Md5*)base->slots->queryInterface(base, &kMd5Id);
  if (md5) {
    md5->slots->update(md5, (const uint8_t*)text, (uint32_t)strlen(text));
    md5->slots->final(md5, digest);
    for (i = 0; i < 16; ++i) {
      printf("%02x", digest[i]);
    }
    printf("\n");
  }
  destroy(kMd5ObjectId, base);
  return md5 ? 0 : 1;
}

int wmain(int count, wchar_t** arguments) {
  char text[700]; /* longer text does not fit one call of the cipher */
  HMODULE library;
  if (count != 2 ||
      WideCharToMultiByte(CP_UTF8, 0, arguments[1], -1, text, (int)sizeof(text), NULL, NULL) == 0) {
    fprintf(stderr, "usage: UseFromC TEXT\n");
    return 2;
  }
  library = LoadLibraryW(L"Cifra.dll");
  if (!library) {
    fprintf(stderr, "cannot load Cifra.dll: error %lu\n", GetLastError());
    return 1;
  }
  return ByFunctions(library, arguments[1], text) || ByObject(library, text);
}

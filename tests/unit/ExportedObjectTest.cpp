#include <windows.h>
#include <gtest/gtest.h>

#include <cstring>

#include "Cifra/IMd5.h"
#include "framework/ExportedObject.h"
#include "framework/ModuleLoader.h"
#include "support/ImportPatch.h"
#include "support/Slots.h"

// The loader's client, seen from within.
namespace Cifra::Test {
namespace {

using Md5Object = CifraExportedObject<IMd5>;

TEST(ExportedObject, SlotZero_ForwardsToTheObject) {
  const Md5Object loaded(kMd5ObjectId);
  ASSERT_NE(nullptr, loaded.iface);
  EXPECT_EQ(loaded.iface, CallSlot<void*>(&loaded, 0, &IMd5::kInterfaceId));
  void* const base = CallSlot<void*>(&loaded, 0, &IKxBaseInterface::kInterfaceId);
  EXPECT_EQ(loaded.iface, static_cast<IKxBaseInterface*>(base)->QueryInterface(IMd5::kInterfaceId));
  const InterfaceId unknown{};
  EXPECT_EQ(nullptr, CallSlot<void*>(&loaded, 0, &unknown));
}

TEST(ExportedObject, SlotZero_WithoutAnObjectGivesNull) {
  const ImportPatch patch(GetModuleHandleW(nullptr), "LoadLibraryExW", &LoadNothing);
  const Md5Object empty(kMd5ObjectId);
  EXPECT_EQ(nullptr, empty.iface);
  EXPECT_EQ(nullptr, CallSlot<void*>(&empty, 0, &IMd5::kInterfaceId));
}

TEST(ExportedObject, Reset_EmptiesItForGood) {
  Md5Object loaded(kMd5ObjectId);
  loaded.Reset();
  EXPECT_EQ(nullptr, loaded.iface);
  EXPECT_EQ(nullptr, CallSlot<void*>(&loaded, 0, &IMd5::kInterfaceId));
  loaded.Reset();
}

void** resultGiven = nullptr;

std::uint32_t CreateNothing(const wchar_t*, const InterfaceId*, void** result) {
  resultGiven = result;
  return kCifraNotFound;
}

// Not by this program's own import, which is patched.
auto* const realGetProcAddress = kx::FindProcedure<FARPROC WINAPI(HMODULE, LPCSTR)>(
    GetModuleHandleW(L"kernel32.dll"), "GetProcAddress");

FARPROC WINAPI FindCreateNothing(HMODULE module, LPCSTR name) {
  return std::strcmp(name, "KxCreateObject") == 0
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&CreateNothing))
             : realGetProcAddress(module, name);
}

TEST(ExportedObject, Factory_IsGivenTheAddressOfTheObjectField) {
  const ImportPatch patch(GetModuleHandleW(nullptr), "GetProcAddress", &FindCreateNothing);
  const Md5Object empty(kMd5ObjectId);
  EXPECT_EQ(reinterpret_cast<const char*>(&empty) + 2 * sizeof(void*),
            reinterpret_cast<const char*>(resultGiven));
}

TEST(AppendFileName, PutsOneSeparatorBetweenAPathAndAName) {
  for (const wchar_t* path : {L"C:\\dir", L"C:\\dir\\"}) {
    for (const wchar_t* name : {L"file", L"\\file", L"/file", L"\\/\\file"}) {
      kx::StringT<wchar_t> text(path);
      AppendFileName(text, name);
      EXPECT_STREQ(L"C:\\dir\\file", text.CStr()) << path << " + " << name;
    }
  }
  kx::StringT<wchar_t> slash(L"C:/dir/");
  AppendFileName(slash, L"file");
  EXPECT_STREQ(L"C:/dir/file", slash.CStr());
  kx::StringT<wchar_t> empty;
  AppendFileName(empty, L"\\file");
  EXPECT_STREQ(L"file", empty.CStr());
}

}  // namespace
}  // namespace Cifra::Test

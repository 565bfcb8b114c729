#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <numeric>
#include <random>
#include <stdexcept>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Cifra::Object;
using Cifra::Test::Library;

class BlowfishObject : public testing::Test {
 protected:
  BlowfishObject() { SetKey({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}); }

  void SetKey(const Bytes& key) {
    blowfish->SetKey(key.data(), static_cast<std::int32_t>(key.size()));
  }
  Bytes Encrypt(const Bytes& input) {
    Bytes output;
    EXPECT_EQ(0u, blowfish->Encrypt(input.data(), input.size(), output));
    return output;
  }
  Bytes Decrypt(const Bytes& input) {
    Bytes output;
    EXPECT_EQ(0u, blowfish->Decrypt(input.data(), input.size(), output));
    return output;
  }

  Object<Cifra::IBlowfish> blowfish{Library()};
};

Bytes Counting(std::size_t length) {
  Bytes bytes(length);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

Bytes Padded(Bytes bytes) {
  bytes.resize((bytes.size() + 7) / 8 * 8);
  return bytes;
}

TEST_F(BlowfishObject, Encrypt_OfTheZeroBlock_GivesThePublishedHalvesReversed) {
  SetKey(Bytes(8, 0));
  // Published: 4EF997456198DD78.
  EXPECT_EQ((Bytes{0x45, 0x97, 0xF9, 0x4E, 0x78, 0xDD, 0x98, 0x61}), Encrypt(Bytes(8, 0)));
}

TEST_F(BlowfishObject, Encrypt_OfNoBytes_LeavesAnEmptyOutput) {
  Bytes output = {1, 2, 3};
  EXPECT_EQ(0u, blowfish->Encrypt(nullptr, 0, output));
  EXPECT_TRUE(output.empty());
}

TEST_F(BlowfishObject, Encrypt_OfOneByte_EnciphersItWithSevenZeroBytes) {
  EXPECT_EQ(Encrypt({0x41, 0, 0, 0, 0, 0, 0, 0}), Encrypt({0x41}));
}

TEST_F(BlowfishObject, Encrypt_OfEightBytes_AddsNoPaddingBlock) {
  EXPECT_EQ(8u, Encrypt(Counting(8)).size());
}

TEST_F(BlowfishObject, Decrypt_OfNinePaddedBytes_GivesThemBackWithSevenZeroBytes) {
  EXPECT_EQ(Padded(Counting(9)), Decrypt(Encrypt(Counting(9))));
}

TEST_F(BlowfishObject, Encrypt_OfEqualBlocks_GivesEqualCiphertextBlocks) {
  Bytes twice = Counting(8);
  twice.insert(twice.end(), twice.begin(), twice.begin() + 8);
  const Bytes encrypted = Encrypt(twice);
  EXPECT_TRUE(std::equal(encrypted.begin(), encrypted.begin() + 8, encrypted.begin() + 8));
}

TEST_F(BlowfishObject, EveryLengthUpTo200_RoundTripsAndEqualsItsBlocksAlone) {
  for (std::size_t length = 0; length <= 200; ++length) {
    const Bytes plain = Counting(length);
    const Bytes encrypted = Encrypt(plain);
    ASSERT_EQ(Padded(plain), Decrypt(encrypted)) << length;
    for (std::size_t at = 0; at < length; at += 8) {
      const Bytes block(plain.begin() + static_cast<std::ptrdiff_t>(at),
                        plain.begin() + static_cast<std::ptrdiff_t>(std::min(at + 8, length)));
      const Bytes expected = Encrypt(block);
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(),
                             encrypted.begin() + static_cast<std::ptrdiff_t>(at)))
          << length << " at " << at;
    }
  }
}

TEST_F(BlowfishObject, Encrypt_InPlace_PadsWithZeroBytes) {
  for (const std::size_t length : {1u, 7u, 8u, 9u, 17u, 100u, 4095u}) {
    const Bytes plain = Counting(length);
    Bytes buffer = plain;
    buffer.resize(length + 3, 0xEE);
    blowfish->Encrypt(buffer.data(), length, buffer);
    EXPECT_EQ(Encrypt(plain), buffer) << length;
  }
}

TEST_F(BlowfishObject, Encrypt_InPlaceIntoABufferThatMustGrow_DoesNotReadTheOldOne) {
  Bytes buffer = Counting(9);
  buffer.shrink_to_fit();
  blowfish->Encrypt(buffer.data(), buffer.size(), buffer);
  EXPECT_EQ(Encrypt(Counting(9)), buffer);
}

TEST_F(BlowfishObject, InputInsideTheOutput_GivesTheSameAsACopy) {
  const Bytes content = Counting(400);
  for (const std::size_t length : {0u, 1u, 8u, 100u, 397u, 400u}) {
    for (const std::size_t offset : {0u, 1u, 8u, 300u}) {
      if (offset + length > content.size()) {
        continue;
      }
      const Bytes input(content.begin() + static_cast<std::ptrdiff_t>(offset),
                        content.begin() + static_cast<std::ptrdiff_t>(offset + length));
      Bytes encrypted = content;
      Bytes decrypted = content;
      encrypted.shrink_to_fit();
      blowfish->Encrypt(encrypted.data() + offset, length, encrypted);
      blowfish->Decrypt(decrypted.data() + offset, length, decrypted);
      EXPECT_EQ(Encrypt(input), encrypted) << length << " at " << offset;
      EXPECT_EQ(Decrypt(input), decrypted) << length << " at " << offset;
    }
  }
}

// The blocks that a vector gives back as it grows are filled, so that a read of them shows.
void FreeSpoiled(void* block) {
  if (block) {
    std::memset(block, 0xDD, _msize(block));
  }
  std::free(block);
}

TEST_F(BlowfishObject, InputInsideAnOutputThatMustGrow_IsNotReadFromFreedMemory) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "free", &FreeSpoiled);
  for (const std::size_t offset : {0u, 1u}) {
    Bytes buffer = Counting(401 + offset);
    const Bytes input(buffer.begin() + static_cast<std::ptrdiff_t>(offset), buffer.end());
    buffer.shrink_to_fit();
    blowfish->Encrypt(buffer.data() + offset, 401, buffer);
    EXPECT_EQ(Encrypt(input), buffer) << offset;
  }
}

// A vector over memory of the test's own, as the two standard libraries lay one out: begin, end and
// end of the capacity. It is never destroyed.
class ForgedBytes {
 public:
  ForgedBytes(std::uint8_t* begin, std::uint64_t size) {
    std::uint8_t* const fields[] = {begin, begin + size, begin + size};
    static_assert(sizeof(fields) == sizeof(Bytes));
    std::memcpy(storage, fields, sizeof(fields));
  }
  Bytes& Get() { return *std::launder(reinterpret_cast<Bytes*>(storage)); }

 private:
  alignas(Bytes) std::byte storage[sizeof(Bytes)];
};

// A vector of 2^32 + 1 blocks, of which there is memory only for the first.
constexpr std::uint64_t kHugeBytes = (std::uint64_t{1} << 35) + 8;
constexpr std::size_t kPageBytes = 0x10000;
constexpr int kReadOn = 3;
std::uint8_t* hugeMemory = nullptr;

LONG WINAPI ExitWhereMemoryEnds(EXCEPTION_POINTERS* exception) {
  const auto address = exception->ExceptionRecord->ExceptionInformation[1];
  const auto end = reinterpret_cast<std::uintptr_t>(hugeMemory + kPageBytes);
  if (exception->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION && address >= end &&
      address < end + kPageBytes) {
    ExitProcess(kReadOn);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

const Cifra::Test::ChildAction kCipherHugeInput(L"CipherHugeInput", [](const auto& arguments) {
  hugeMemory =
      static_cast<std::uint8_t*>(VirtualAlloc(nullptr, kHugeBytes, MEM_RESERVE, PAGE_READWRITE));
  if (!hugeMemory || !VirtualAlloc(hugeMemory, kPageBytes, MEM_COMMIT, PAGE_READWRITE)) {
    return 1;
  }
  const Object<Cifra::IBlowfish> blowfish(Library());
  const std::uint8_t key[4] = {1, 2, 3, 4};
  blowfish->SetKey(key, sizeof(key));
  AddVectoredExceptionHandler(1, &ExitWhereMemoryEnds);
  ForgedBytes output(hugeMemory, kHugeBytes);
  if (arguments[0] == L"Decrypt") {
    blowfish->Decrypt(hugeMemory, kHugeBytes, output.Get());
  } else {
    blowfish->Encrypt(hugeMemory, kHugeBytes, output.Get());
  }
  const std::uint8_t zeros[8] = {};
  const bool isFirstCiphered = std::memcmp(hugeMemory, zeros, 8) != 0;
  const bool isSecondCiphered = std::memcmp(hugeMemory + 8, zeros, 8) != 0;
  return isFirstCiphered && !isSecondCiphered ? 0 : 2;
});

TEST_F(BlowfishObject, Encrypt_OfTwoTo32AndOneBlocks_EnciphersTheFirstOnly) {
  EXPECT_EQ(0u, Cifra::Test::RunChild(L"CipherHugeInput", {L"Encrypt"}).exitCode);
}

TEST_F(BlowfishObject, Decrypt_OfTwoTo32AndOneBlocks_GoesOnBehindTheFirst) {
  EXPECT_EQ(static_cast<std::uint32_t>(kReadOn),
            Cifra::Test::RunChild(L"CipherHugeInput", {L"Decrypt"}).exitCode);
}

const Cifra::Test::ChildAction kCipherNull(L"CipherNull", [](const auto& arguments) {
  const Object<Cifra::IBlowfish> blowfish(Library());
  const std::uint8_t key[4] = {1, 2, 3, 4};
  blowfish->SetKey(key, sizeof(key));
  Bytes output;
  if (arguments[0] == L"Decrypt") {
    blowfish->Decrypt(nullptr, 8, output);
  } else {
    blowfish->Encrypt(nullptr, 8, output);
  }
  return 0;
});

TEST_F(BlowfishObject, NullInputWithALength_EndsTheProcessSilently) {
  for (const wchar_t* operation : {L"Encrypt", L"Decrypt"}) {
    const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"CipherNull", {operation});
    EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << operation;
    EXPECT_EQ("", child.output) << operation;
  }
}

TEST_F(BlowfishObject, Decrypt_InPlace_GivesTheSameAsIntoAnotherBuffer) {
  Bytes buffer = Encrypt(Counting(100));
  const Bytes expected = Decrypt(buffer);
  blowfish->Decrypt(buffer.data(), buffer.size(), buffer);
  EXPECT_EQ(expected, buffer);
}

TEST_F(BlowfishObject, Decrypt_OfAPartialLastBlock_DropsIt) {
  const Bytes encrypted = Encrypt(Counting(24));
  for (std::size_t length = 0; length <= encrypted.size(); ++length) {
    const Bytes cut(encrypted.begin(), encrypted.begin() + static_cast<std::ptrdiff_t>(length));
    Bytes expected = Counting(24);
    expected.resize(length / 8 * 8);
    EXPECT_EQ(expected, Decrypt(cut)) << length;
  }
}

// Memory whose last byte is followed by a page that faults on access.
class GuardedBytes {
 public:
  explicit GuardedBytes(const Bytes& content)
      : pages(VirtualAlloc(nullptr, 2 * kPageBytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE)),
        bytes(static_cast<std::uint8_t*>(pages) + kPageBytes - content.size()) {
    std::copy(content.begin(), content.end(), bytes);
    DWORD before = 0;
    VirtualProtect(static_cast<std::uint8_t*>(pages) + kPageBytes, kPageBytes, PAGE_NOACCESS,
                   &before);
  }
  ~GuardedBytes() { VirtualFree(pages, 0, MEM_RELEASE); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  const std::uint8_t* Data() const { return bytes; }

 private:
  static constexpr std::size_t kPageBytes = 4096;

  void* pages;
  std::uint8_t* bytes;
};

TEST_F(BlowfishObject, Operations_StayWithinInputAndOutput) {
  constexpr std::size_t kOutputSize = 128;
  const Bytes content = Counting(100);
  for (std::size_t length = 0; length <= content.size(); ++length) {
    const Bytes input(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(length));
    const GuardedBytes guarded(input);
    for (const bool decrypts : {false, true}) {
      // A vector that shrinks keeps the bytes after its new end.
      Bytes output(kOutputSize, 0xEE);
      if (decrypts) {
        blowfish->Decrypt(guarded.Data(), length, output);
      } else {
        blowfish->Encrypt(guarded.Data(), length, output);
      }
      EXPECT_EQ(decrypts ? Decrypt(input) : Encrypt(input), output) << length;
      EXPECT_TRUE(std::all_of(output.data() + output.size(), output.data() + kOutputSize,
                              [](std::uint8_t byte) { return byte == 0xEE; }))
          << length;
    }
  }
}

TEST_F(BlowfishObject, Operations_ReplaceWhatTheOutputHeld) {
  Bytes output(1000, 0xEE);
  blowfish->Encrypt(Counting(5).data(), 5, output);
  EXPECT_EQ(Encrypt(Counting(5)), output);
}

TEST_F(BlowfishObject, SetKey_ReplacesTheKeyCompletely) {
  const Bytes first = Encrypt(Counting(8));
  SetKey({42});
  EXPECT_NE(first, Encrypt(Counting(8)));
  SetKey({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(first, Encrypt(Counting(8)));
}

TEST_F(BlowfishObject, SetKey_OfOneByte_EqualsThatByteRepeated) {
  SetKey({0x5A});
  const Bytes one = Encrypt(Counting(8));
  SetKey(Bytes(56, 0x5A));
  EXPECT_EQ(one, Encrypt(Counting(8)));
}

TEST_F(BlowfishObject, SetKey_UsesTheFirst72Bytes) {
  SetKey(Counting(72));
  const Bytes with72 = Encrypt(Counting(8));
  SetKey(Counting(73));
  EXPECT_EQ(with72, Encrypt(Counting(8)));
  SetKey(Counting(71));
  EXPECT_NE(with72, Encrypt(Counting(8)));
}

TEST_F(BlowfishObject, RandomMessages_RoundTripUnderKeysOfEveryLength) {
  std::mt19937 random(20240229);
  for (std::size_t keyLength = 1; keyLength <= 56; ++keyLength) {
    Bytes key(keyLength);
    std::generate(key.begin(), key.end(), [&] { return static_cast<std::uint8_t>(random()); });
    SetKey(key);
    Bytes plain(random() % 1000);
    std::generate(plain.begin(), plain.end(), [&] { return static_cast<std::uint8_t>(random()); });
    ASSERT_EQ(Padded(plain), Decrypt(Encrypt(plain))) << keyLength;
  }
}

TEST_F(BlowfishObject, Encrypt_IntoAnOutputThatCannotGrow_ThrowsAndKeepsItsContent) {
  Bytes output = {1, 2, 3};
  EXPECT_ANY_THROW(blowfish->Encrypt(nullptr, ~std::uint64_t{0} / 2, output));
  EXPECT_EQ((Bytes{1, 2, 3}), output);
}

TEST_F(BlowfishObject, Encrypt_OfALengthThatOverflows_ThrowsLengthError) {
  Bytes output = {1, 2, 3};
  for (std::uint64_t below = 1; below <= 8; ++below) {
    EXPECT_THROW(blowfish->Encrypt(nullptr, 0 - below, output), std::length_error) << below;
    EXPECT_THROW(blowfish->Decrypt(nullptr, 0 - below, output), std::length_error) << below;
  }
  EXPECT_EQ((Bytes{1, 2, 3}), output);
}

// The content of the tables that the library freed.
struct FreedTables {
  int wiped = 0;
  int unwiped = 0;
  std::vector<std::size_t> sizes;
};
FreedTables freedTables;

void FreeWatched(void* block) {
  const std::size_t size = block ? _msize(block) : 0;
  if (size == 4096 || size == 72) {
    const auto* bytes = static_cast<const std::uint8_t*>(block);
    const bool isWiped = std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return !byte; });
    ++(isWiped ? freedTables.wiped : freedTables.unwiped);
    freedTables.sizes.push_back(size);
  }
  std::free(block);
}

TEST_F(BlowfishObject, Destruction_WipesBothTablesBeforeTheirMemoryIsFreed) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "free", &FreeWatched);
  freedTables = {};
  {
    const Object<Cifra::IBlowfish> doomed(Library());
    doomed->SetKey(Counting(56).data(), 56);
  }
  EXPECT_EQ(2, freedTables.wiped);
  EXPECT_EQ(0, freedTables.unwiped);
  EXPECT_EQ((std::vector<std::size_t>{72, 4096}), freedTables.sizes) << "P before S";
}

const Cifra::Test::ChildAction kSetKeyOfLength(L"SetKeyOfLength", [](const auto& arguments) {
  const Object<Cifra::IBlowfish> blowfish(Library());
  const std::uint8_t key[4] = {1, 2, 3, 4};
  blowfish->SetKey(key, std::stoi(arguments[0]));
  return 0;
});

TEST_F(BlowfishObject, SetKey_OfNoOrNegativeLength_EndsTheProcessSilently) {
  for (const wchar_t* length : {L"0", L"-1", L"-2147483648"}) {
    const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"SetKeyOfLength", {length});
    EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << length;
    EXPECT_EQ("", child.output) << length;
  }
  EXPECT_EQ(0u, Cifra::Test::RunChild(L"SetKeyOfLength", {L"4"}).exitCode);
}

}  // namespace

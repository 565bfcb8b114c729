#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "signature/SignedFile.h"

// Every kind of damage to a signed file, judged by the platform itself: none is trusted where the
// signature covers what was changed, and none is more than the library can bear.
namespace {

using Cifra::Test::Bytes;
using Cifra::Test::Content;
using Cifra::Test::Fixture;
using Cifra::Test::kBadDigest;
using Cifra::Test::kTrusted;
using Cifra::Test::Write;

#ifdef CIFRA_LONG_RUNS
constexpr int kDamages = 2'000;
#else
constexpr int kDamages = 200;
#endif

// Number is what is read from a file, and written to it, least significant byte first.
template <typename Number = std::uint32_t>
Number NumberAt(const Bytes& bytes, std::size_t offset) {
  Number number;
  std::memcpy(&number, &bytes[offset], sizeof(number));
  return number;
}

// Where the signature says that its own bytes and those that name its place are not covered.
struct Layout {
  std::size_t checksum;
  std::size_t tableEntry;  // offset and size of the certificate table
  std::size_t table;
  std::size_t tableSize;

  explicit Layout(const Bytes& bytes) {
    const std::size_t optionalHeader = NumberAt(bytes, 0x3C) + 24;
    checksum = optionalHeader + 64;
    tableEntry = optionalHeader + 112 + 4 * 8;
    table = NumberAt(bytes, tableEntry);
    tableSize = NumberAt(bytes, tableEntry + 4);
  }

  bool Covers(std::size_t offset) const {
    return offset < table && !(offset >= checksum && offset < checksum + 4) &&
           !(offset >= tableEntry && offset < tableEntry + 8);
  }
};

class SignatureDamage : public Cifra::Test::SignedFile {
 protected:
  // The verdict on a file that holds these bytes.
  std::int32_t Verdict(const Bytes& bytes) {
    Write(damaged, bytes);
    const std::vector<std::int32_t> verdicts = Verdicts(damaged);
    EXPECT_EQ(1u, verdicts.size());
    return verdicts.empty() ? kTrusted : verdicts.front();
  }

  template <typename Number = std::uint32_t>
  Bytes WithNumber(std::size_t offset, Number number) const {
    Bytes changed = signedBytes;
    std::memcpy(&changed[offset], &number, sizeof(number));
    return changed;
  }

  void ExpectUntrustedWithNumber(std::size_t offset, const std::vector<std::size_t>& numbers) {
    for (const std::size_t number : numbers) {
      EXPECT_NE(kTrusted, Verdict(WithNumber(offset, static_cast<std::uint32_t>(number))))
          << number << " at " << offset;
    }
  }

  void TearDown() override {
    std::vector<Cifra::Chain> trusted;
    object->GetTrustedChains(trusted);
    EXPECT_TRUE(mayBeTrusted || trusted.empty());
  }

  const Cifra::Test::TempDirectory directory;
  const std::filesystem::path damaged = directory / L"damaged.exe";
  const Bytes signedBytes = Content(Fixture(L"signed.exe"));
  const Layout layout{signedBytes};
  bool mayBeTrusted = false;
};

// That the place of what is not covered is known here, and that the file is good but for its
// damage.
TEST_F(SignatureDamage, AnUnchangedFileAndAChangedChecksum_AreTrusted) {
  mayBeTrusted = true;
  EXPECT_EQ(kTrusted, Verdict(signedBytes));
  EXPECT_EQ(kTrusted, Verdict(WithNumber(layout.checksum, 0x12345678u)));
}

TEST_F(SignatureDamage, AChangedCodeByte_IsABadDigest) {
  Bytes changed = signedBytes;
  changed[0x300] ^= 1;
  EXPECT_EQ(kBadDigest, Verdict(changed));
  EXPECT_FALSE(object->IsSigned(damaged.wstring().c_str(), false));
}

TEST_F(SignatureDamage, AppendedData_IsNotTrusted) {
  for (const std::size_t count : {1u, 8u, 16u, 4096u}) {
    Bytes changed = signedBytes;
    changed.resize(changed.size() + count);
    EXPECT_NE(kTrusted, Verdict(changed)) << count;
  }
}

TEST_F(SignatureDamage, FilesCutAnywhere_AreNotTrusted) {
  const std::size_t peHeader = NumberAt(signedBytes, 0x3C);
  for (const std::size_t size : {std::size_t{1},
                                 std::size_t{2},
                                 std::size_t{0x3B},
                                 std::size_t{0x3E},  // DOS header
                                 peHeader,
                                 peHeader + 3,
                                 peHeader + 20,
                                 layout.checksum,  // PE headers
                                 layout.tableEntry,
                                 layout.tableEntry + 4,
                                 layout.tableEntry + 8,  //
                                 std::size_t{0x1FF},
                                 std::size_t{0x200},
                                 std::size_t{0x201},  // section
                                 std::size_t{0x400},
                                 layout.table - 1,
                                 layout.table,  //
                                 layout.table + 1,
                                 layout.table + 4,
                                 layout.table + 7,
                                 layout.table + 8,  // table's head
                                 layout.table + 100,
                                 signedBytes.size() - 100,
                                 signedBytes.size() - 8,  // PKCS #7
                                 signedBytes.size() - 1}) {
    EXPECT_NE(kTrusted, Verdict({signedBytes.begin(),
                                 signedBytes.begin() + static_cast<std::ptrdiff_t>(size)}))
        << size;
  }
}

TEST_F(SignatureDamage, ATableEntryWithAnotherOffset_IsNotTrusted) {
  ExpectUntrustedWithNumber(
      layout.tableEntry, {0, 0x80, 0x200, layout.table - 8, layout.table - 1, layout.table + 8,
                          signedBytes.size(), signedBytes.size() + 4096, 0xFFFFFFF8, 0xFFFFFFFF});
}

TEST_F(SignatureDamage, ATableEntryWithAnotherSize_IsNotTrusted) {
  ExpectUntrustedWithNumber(
      layout.tableEntry + 4,
      {0, 1, 7, 8, layout.tableSize / 2, layout.tableSize - 8, layout.tableSize + 8,
       layout.tableSize + 4096, 0x7FFFFFFF, 0xFFFFFFFF});
}

// A slightly smaller number only cuts the padding after the signature.
TEST_F(SignatureDamage, ACertificateWithAnotherLength_IsNotTrusted) {
  ExpectUntrustedWithNumber(
      layout.table, {0, 1, 7, 8, 9, layout.tableSize / 2, layout.tableSize - 8,
                     layout.tableSize + 8, layout.tableSize + 4096, 0x7FFFFFFF, 0xFFFFFFFF});
}

// After the header of 8 bytes come the bytes 30 82 and the length, most significant byte first.
TEST_F(SignatureDamage, ASignatureWithAnotherLength_IsNotTrusted) {
  const std::size_t offset = layout.table + 10;
  ASSERT_EQ(0x8230, NumberAt<std::uint16_t>(signedBytes, offset - 2));
  const auto turned = [](unsigned number) {
    return static_cast<std::uint16_t>(number << 8 | (number >> 8 & 0xFF));
  };
  const unsigned length = turned(NumberAt<std::uint16_t>(signedBytes, offset));
  for (const unsigned other :
       {0u, 1u, length / 2, length - 1, length + 1, length + 1000, 0xFFFFu}) {
    EXPECT_NE(kTrusted, Verdict(WithNumber(offset, turned(other)))) << other;
  }
}

TEST_F(SignatureDamage, NoRandomChange_IsTrusted) {
  std::mt19937 random(20240607);
  for (int i = 0; i < kDamages;) {
    const std::size_t offset = random() % layout.table;
    const char change = static_cast<char>(1 + random() % 255);
    if (!layout.Covers(offset)) {
      continue;
    }
    Bytes changed = signedBytes;
    changed[offset] = static_cast<char>(changed[offset] ^ change);
    ASSERT_NE(kTrusted, Verdict(changed)) << "byte " << offset << " changed by " << +change;
    ++i;
  }
}

// Damage inside the signature itself may be in bytes that nobody vouches for, but must be survived.
TEST_F(SignatureDamage, RandomChangesOfTheSignature_AreSurvived) {
  mayBeTrusted = true;
  std::mt19937 random(7);
  for (int i = 0; i < kDamages / 10; ++i) {
    Bytes changed = signedBytes;
    char& byte = changed[layout.table + random() % layout.tableSize];
    byte = static_cast<char>(byte ^ static_cast<char>(1 + random() % 255));
    Verdict(changed);
  }
}

}  // namespace

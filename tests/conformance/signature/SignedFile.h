#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "signature/SignatureResults.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

namespace Cifra::Test {

using Bytes = std::vector<char>;

inline constexpr std::int32_t kTrusted = 0;
inline constexpr auto kNoSignature = static_cast<std::int32_t>(0x800B0100);
inline constexpr auto kUnknownForm = static_cast<std::int32_t>(0x800B0003);
inline constexpr auto kBadDigest = static_cast<std::int32_t>(0x80096010);

inline std::filesystem::path Fixture(const std::wstring& name) {
  const char* directory = std::getenv("CIFRA_FIXTURES");
  return std::filesystem::path(directory ? directory : "") / name;
}

inline Bytes Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline void Write(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

class ResultObserver final : public Cifra::ISignatureObserver {
 public:
  void OnVerifyResult(std::int32_t result) override { results.push_back(result); }
  void OnCertificate(const _CERT_CONTEXT* certificate) override { EXPECT_NE(nullptr, certificate); }
  void OnSignatureDone() override {}

  std::vector<std::int32_t> results;
};

// SignedFile is the fixture of tests in which the platform itself verifies files.
class SignedFile : public testing::Test {
 protected:
  void SetUp() override { object->SetObserver(&observer); }

  // Returns the platform's verdicts on a file's signatures and stores their chains in `chains`.
  std::vector<std::int32_t> Verdicts(const std::filesystem::path& path) {
    observer.results.clear();
    chains = {};
    EXPECT_EQ(0u, object->GetDigitalSignature(path.wstring().c_str(), chains, false)) << path;
    return observer.results;
  }
  std::vector<std::int32_t> VerdictsOf(const std::wstring& fixture) {
    return Verdicts(Fixture(fixture));
  }

  ResultObserver observer;
  Object<Cifra::IDigitalSignature> object{Library()};
  kx::List<Cifra::Chain> chains;
};

}  // namespace Cifra::Test

#include "program/SelfTestCommand.h"

#include <functional>
#include <string>
#include <vector>

#include "Cifra/Functions.h"
#include "Cifra/IBase64.h"
#include "Cifra/IBlowfish.h"
#include "Cifra/IBlowfishAndBase64.h"
#include "Cifra/IDigitalSignature.h"
#include "Cifra/IMd5.h"
#include "Cifra/ISha256.h"
#include "program/CifraLibrary.h"
#include "program/Hex.h"
#include "program/Processor.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

using Buffer = std::vector<std::uint8_t>;

void Require(bool condition, const std::string& what) {
  if (!condition) {
    throw Failure(ExitCode::kInternal, what);
  }
}

void RequireEqual(const std::string& expected, const std::string& actual) {
  Require(expected == actual,
          "gave " + (actual.empty() ? "nothing" : actual) + " instead of " + expected);
}

Buffer BufferOf(const std::string& text) { return {text.begin(), text.end()}; }

// Long enough that every kernel has bulk to work on: 0, 1, 2 ... 255, 0 ...
Buffer Pattern(std::size_t size) {
  Buffer bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(i);
  }
  return bytes;
}

std::string Md5Of(const CifraLibrary& library, const Buffer& bytes) {
  const CifraObject<Cifra::IMd5> md5(library);
  std::uint8_t digest[Cifra::IMd5::kDigestBytes] = {};
  md5->Update(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  md5->Final(digest);
  return ToHex(digest);
}

// RFC 1321, A.5.
void TestMd5(const CifraLibrary& library) {
  RequireEqual("d41d8cd98f00b204e9800998ecf8427e", Md5Of(library, {}));
  RequireEqual("f96b697d7cb7938d525a2f31aaf161d0", Md5Of(library, BufferOf("message digest")));
  RequireEqual("57edf4a22be3c955ac49da2e2107b67a",
               Md5Of(library, BufferOf("1234567890123456789012345678901234567890"
                                       "1234567890123456789012345678901234567890")));
}

// FIPS 180-2, B.1 and B.2.
void TestSha256(const CifraLibrary& library) {
  const auto digestOf = [&library](const std::string& text) {
    const CifraObject<Cifra::ISha256> sha256(library);
    std::uint8_t digest[Cifra::ISha256::kDigestBytes] = {};
    const Buffer bytes = BufferOf(text);
    const bool isDone =
        sha256->Init() == 0 &&
        sha256->Update(bytes.data(), static_cast<std::uint32_t>(bytes.size())) == 0 &&
        sha256->Final(digest) == 0;
    Require(isDone, "the system's hashing service failed");
    return ToHex(digest);
  };
  RequireEqual("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", digestOf("abc"));
  RequireEqual("248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
               digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"));
}

// RFC 4648, section 10, and 3 KiB there and back.
void TestBase64(const CifraLibrary& library) {
  const CifraObject<Cifra::IBase64> base64(library);
  std::string text;
  Buffer bytes;
  base64->Encode(BufferOf("fooba"), text, true);
  RequireEqual("Zm9vYmE=", text);
  const Buffer pattern = Pattern(3072);
  base64->Encode(pattern, text, true);
  RequireEqual("802b23944b30d16c0b28afc37fe41320", Md5Of(library, BufferOf(text)));
  Require(base64->Decode(text, bytes) == kCifraSuccess && bytes == pattern,
          "did not decode what it encoded");
  Require(base64->Decode("Zm9v!mE=", bytes) != kCifraSuccess, "decoded what is not Base64");
}

// E. Young's vectors for a key and a block of 8 bytes of zeros, and of ones, with the bytes of the
// halves of the ciphertext reversed. And 4 KiB there and back.
void TestBlowfish(const CifraLibrary& library) {
  const CifraObject<Cifra::IBlowfish> blowfish(library);
  Buffer output;
  for (const auto& [fill, ciphertext] : {std::pair(std::uint8_t{0x00}, "4597f94e78dd9861"),
                                         {std::uint8_t{0xFF}, "d56f86518acb5eb8"}}) {
    const Buffer block(8, fill);
    blowfish->SetKey(block.data(), static_cast<std::int32_t>(block.size()));
    blowfish->Encrypt(block.data(), block.size(), output);
    RequireEqual(ciphertext, ToHex(output));
  }
  const Buffer pattern = Pattern(4096);
  blowfish->SetKey(pattern.data(), 56);
  blowfish->Encrypt(pattern.data(), pattern.size(), output);
  blowfish->Decrypt(output.data(), output.size(), output);
  Require(output == pattern, "did not decrypt what it encrypted");
}

constexpr char kKey[] = "secret";
constexpr char kText[] = "hello";
constexpr char kCiphertext[] = "dYBu2QSKu0s=";

void TestTextCipher(const CifraLibrary& library) {
  const CifraObject<Cifra::IBlowfishAndBase64> cipher(library);
  wchar_t text[64] = {};
  const Buffer key = BufferOf(kKey);
  Require(cipher->SetKey(key.data(), static_cast<std::uint32_t>(key.size())) == 1,
          "refused a key: the library cannot find itself again");
  Require(cipher->EncodeText(L"hello", text, 64) == 1, "did not encrypt");
  RequireEqual(kCiphertext, ToUtf8(text));
  Require(cipher->DecodeText(L"dYBu2QSKu0s=", text, 64) == 1, "did not decrypt");
  RequireEqual(kText, ToUtf8(text));
}

// The trust service need not trust this program; it must give a verdict.
void TestSignature(const CifraLibrary& library) {
  class Counter final : public Cifra::ISignatureObserver {
   public:
    void OnVerifyResult(std::int32_t) override { ++results; }
    void OnCertificate(const _CERT_CONTEXT*) override {}
    void OnSignatureDone() override {}

    int results = 0;
  };
  Counter counter;
  const CifraObject<Cifra::IDigitalSignature> signature(library);
  signature->SetObserver(&counter);
  const std::wstring path = ExactPath(library.Path());
  Require(signature->VerifyFile(path.c_str(), false) == kCifraSuccess, "cannot open the library");
  Require(counter.results > 0, "gave no verdict on the library");
  Require(signature->VerifyFile(L"", false) != kCifraSuccess, "opened a file without a name");
}

void TestFunctions(const CifraLibrary& library) {
  char result[64] = {};
  constexpr char kAbc[] = "900150983cd24fb0d6963f7d28e17f72";
  Require(library.encodeText(kText, kKey, result, sizeof(result)) == kCifraSuccess,
          "did not encrypt");
  RequireEqual(kCiphertext, result);
  Require(library.decodeText(kCiphertext, kKey, result, sizeof(result)) == kCifraSuccess,
          "did not decrypt");
  RequireEqual(kText, result);
  Require(library.textMd5("abc", result) == kCifraSuccess, "did not hash");
  RequireEqual(kAbc, result);
  Require(library.wideTextMd5(L"abc", result) == kCifraSuccess, "did not hash wide text");
  RequireEqual(kAbc, result);
}

struct Test {
  const char* name;
  void (*run)(const CifraLibrary& library);
};
constexpr Test kTests[] = {
    {"Cifra.Md5", TestMd5},
    {"Cifra.Sha256", TestSha256},
    {"Cifra.Base64", TestBase64},
    {"Cifra.Blowfish", TestBlowfish},
    {"Cifra.BowfishAndBase64", TestTextCipher},
    {"Cifra.DigitalSignature", TestSignature},
    {"exported functions", TestFunctions},
};

bool Passes(const Test& test, const CifraLibrary& library) {
  const std::string name =
      std::string(test.name) + std::string(24 - std::string(test.name).size(), ' ');
  try {
    test.run(library);
    WriteOut(name + "ok\n");
    return true;
  } catch (const std::exception& failure) {
    WriteOut(name + "FAILED: " + EscapeForConsole(failure.what(), Backslashes::kKept) + "\n");
    return false;
  }
}

ExitCode RunSelfTest() {
  const CifraLibrary library;
  const std::string version = library.Version();
  WriteOut("library                 " + ToUtf8(library.Path()) + "\n" + "version                 " +
           (version.empty() ? "unknown" : version) + "\n" + "processor               " + kCpu +
           "\n" + "kernels                 " + ChosenKernels() + "\n");
  int failures = 0;
  for (const Test& test : kTests) {
    failures += Passes(test, library) ? 0 : 1;
  }
  Require(failures == 0, "selftest: " + std::to_string(failures) + " of " +
                             std::to_string(std::size(kTests)) + " parts failed");
  return ExitCode::kSuccess;
}

}  // namespace

void AddSelfTestCommand(Program& program) {
  Command command = program.Add("selftest", "Check that Cifra.dll works on this computer");
  command.Explain(R"(Compares what the objects and functions of Cifra.dll give with known answers,
and has the system verify Cifra.dll itself, whatever its verdict. Takes less
than a second.

Exit codes: 0 all well, 7 Cifra.dll cannot be used, 8 a part does not work

Examples:
  cifra selftest)");
  command.OnRun(RunSelfTest);
}

}  // namespace client

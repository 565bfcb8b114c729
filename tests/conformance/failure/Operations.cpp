#include "Operations.h"

#include <windows.h>

#include <fstream>
#include <memory>

#include "TrustScript.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

namespace Cifra::Test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Text = kx::StringT<wchar_t>;

constexpr std::uint8_t kKey[] = {'s', 'e', 'c', 'r', 'e', 't'};
constexpr std::uint8_t kContent[] = "The content that is hashed, enciphered and encoded.";
constexpr wchar_t kWideText[] = L"A text that fills more than one block.";
constexpr char kText[] = "A text that fills more than one block.";
constexpr char kUnchanged[] = "unchanged";
constexpr wchar_t kWideUnchanged[] = L"unchanged";

std::string Hex(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

std::string Narrow(const wchar_t* text) {
  std::string narrow;
  for (; *text; ++text) {
    narrow += static_cast<char>(*text);
  }
  return narrow;
}

std::string Result(std::uint64_t code, const std::string& output = {}) {
  return std::to_string(code) + (output.empty() ? "" : " " + output);
}

// What the contract says of failures, see Operation::allowed.
using Allowed = std::vector<std::string>;

// A text that the platform does not convert is empty.
const Allowed kUnconverted = {"MultiByteToWideChar 0", "WideCharToMultiByte 0"};
// The library's own file, or an export of it, is not found.
const Allowed kNoInnerObject = {"GetProcAddress 1168 unchanged", "LoadLibraryExW 1168 unchanged",
                                "GetModuleFileNameW 1168 unchanged",
                                "PathRemoveFileSpecW 1168 unchanged"};
// The same for the functions that then empty their output.
const Allowed kNoHashObject = {"GetProcAddress 1168", "LoadLibraryExW 1168",
                               "GetModuleFileNameW 1168", "PathRemoveFileSpecW 1168"};
const Allowed kNoFile = {"CreateFileW 4 unchanged", "ReadFile 30 unchanged"};
constexpr char kZeroDigest[] = "0000000000000000000000000000000000000000000000000000000000000000";
constexpr char kEmptyDigest[] = "E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855";
// Only what could be read of the names, the serial number or the time stamp is there.
const Allowed kIncompleteChain = {
    "CertNameToStrW 0 [*",
    "LoadLibraryW 0 [*",
    "GetProcAddress 0 [*",
    "MultiByteToWideChar 0 [*",
    "WideCharToMultiByte 0 [*",
    "FileTimeToSystemTime 0 [*",
    "_mkgmtime64 0 [*",
    "WTHelperGetProvCertFromChain 0 [ 0]",
    "malloc 0 [ *",  // a certificate whose serial number cannot be stored is left out
    "WTHelperGetProvSignerFromChain 0 [*"};
// Where there is no provider data or no signer the platform's state stays open.
const Allowed kOpenState = {"WTHelperProvDataFromStateData 0 no chain, *",
                            "WTHelperGetProvSignerFromChain 0 no chain, *"};

Allowed operator+(Allowed first, const Allowed& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// What the files and signatures of all operations are.
struct World {
  TempDirectory directory;
  std::filesystem::path file = directory / L"file.bin";
  std::filesystem::path missing = directory / L"missing.bin";
  TrustScript script;

  World() { std::ofstream(file, std::ios::binary) << kText; }

  static ScriptedSignature Signed() {
    ScriptedSignature signature;
    signature.issuer = EncodedName(L"CN=Issuer, O=Company, OU=One, OU=Two");
    signature.subject = EncodedName(L"CN=Subject-whose-name-is-a-long-one");
    signature.serial = {0x01, 0x00, 0xAB};
    signature.counterSigners = {{SGNR_TYPE_TIMESTAMP, {0, 0x01D5'0000}}};
    return signature;
  }
  static ScriptedSignature Unsigned() {
    ScriptedSignature signature = Signed();
    signature.results = {static_cast<LONG>(0x800B0100)};
    signature.hasSigner = false;
    return signature;
  }
};

World& TheWorld() {
  static World world;
  return world;
}

// An operation of an object: body gets its interface. The object is made before it is run, and
// prepared.
template <typename I>
std::function<Operation::Body()> On(
    std::function<std::string(I&)> body, std::function<void(I&)> prepare = [](I&) {}) {
  return [=]() -> Operation::Body {
    auto object = std::make_shared<Object<I>>(Library());
    prepare(*object->Get());
    return [object, body] { return body(*object->Get()); };
  };
}

Operation Creating(const wchar_t* id, const InterfaceId& wanted, const char* name) {
  const auto prepare = [=]() -> Operation::Body {
    struct Holder {
      const wchar_t* id;
      void* object = nullptr;
      ~Holder() {
        if (object) {
          Library().destroy(id, static_cast<IKxBaseInterface*>(object));
        }
      }
    };
    auto holder = std::make_shared<Holder>(id);
    return [holder, id, wanted] { return Result(Library().create(id, &wanted, &holder->object)); };
  };
  return {name, prepare, {}};
}

Operation Destroying(const wchar_t* id, const char* name) {
  const auto prepare = [=]() -> Operation::Body {
    void* object = nullptr;
    Library().create(id, &IKxBaseInterface::kInterfaceId, &object);
    return [object, id] {
      Library().destroy(id, static_cast<IKxBaseInterface*>(object));
      return std::string("done");
    };
  };
  return {name, prepare, {}};
}

void AddFactory(std::vector<Operation>& all) {
  const InterfaceId& base = IKxBaseInterface::kInterfaceId;
  all.push_back(Creating(kBlowfishObjectId, base, "create Blowfish"));
  all.push_back(Creating(kBase64ObjectId, base, "create Base64"));
  all.push_back(Creating(kBlowfishAndBase64ObjectId, base, "create BlowfishAndBase64"));
  all.push_back(Creating(kMd5ObjectId, base, "create Md5"));
  all.push_back(Creating(kSha256ObjectId, base, "create Sha256"));
  all.push_back(Creating(kDigitalSignatureObjectId, base, "create DigitalSignature"));
  all.back().mayEndProcess = true;  // for its path
  all.push_back(Creating(kMd5ObjectId, IBlowfish::kInterfaceId, "create with a foreign interface"));
  all.push_back(Creating(L"Cifra.Unknown", base, "create an unknown object"));
  all.push_back(Destroying(kBlowfishObjectId, "destroy Blowfish"));
  all.push_back(Destroying(kBase64ObjectId, "destroy Base64"));
  all.push_back(Destroying(kBlowfishAndBase64ObjectId, "destroy BlowfishAndBase64"));
  all.push_back(Destroying(kMd5ObjectId, "destroy Md5"));
  all.push_back(Destroying(kSha256ObjectId, "destroy Sha256"));
  all.push_back(Destroying(kDigitalSignatureObjectId, "destroy DigitalSignature"));
}

void AddBlowfish(std::vector<Operation>& all) {
  const auto key = [](IBlowfish& blowfish) { blowfish.SetKey(kKey, sizeof(kKey)); };
  const auto on = [&](std::function<std::string(IBlowfish&)> body) {
    return On<IBlowfish>(std::move(body), key);
  };
  all.push_back({"IBlowfish::SetKey",
                 on([](IBlowfish& blowfish) {
                   blowfish.SetKey(kKey, sizeof(kKey));
                   return std::string("done");
                 }),
                 {}});
  all.push_back({"IBlowfish::Encrypt",
                 on([](IBlowfish& blowfish) {
                   Bytes output;
                   const auto code = blowfish.Encrypt(kContent, sizeof(kContent), output);
                   return Result(code, Hex(output));
                 }),
                 {}});
  all.push_back({"IBlowfish::Decrypt",
                 on([](IBlowfish& blowfish) {
                   Bytes output;
                   const auto code = blowfish.Decrypt(kContent, 48, output);
                   return Result(code, Hex(output));
                 }),
                 {}});
}

void AddBase64(std::vector<Operation>& all) {
  const auto on = [](std::function<std::string(IBase64&)> body) {
    return On<IBase64>(std::move(body));
  };
  static const std::string encoded = "VGhlIGNvbnRlbnQgdGhhdCBpcyBlbmNvZGVkLg==";
  all.push_back({"IBase64::Encode bytes",
                 on([](IBase64& base64) {
                   std::string output;
                   base64.Encode(kContent, sizeof(kContent), output, true);
                   return Result(0, output);
                 }),
                 {}});
  all.push_back({"IBase64::Encode a vector",
                 on([](IBase64& base64) {
                   static const Bytes input(std::begin(kContent), std::end(kContent));
                   std::string output;
                   base64.Encode(input, output, false);
                   return Result(0, output);
                 }),
                 {}});
  all.push_back({"IBase64::GetDecodedSize",
                 on([](IBase64& base64) { return Result(base64.GetDecodedSize(encoded.size())); }),
                 {}});
  all.push_back({"IBase64::DecodeToBuffer",
                 on([](IBase64& base64) {
                   std::uint8_t output[64] = {};
                   std::uint64_t size = sizeof(output);
                   const auto code = base64.DecodeToBuffer(encoded, output, &size);
                   return Result(code, Hex(Bytes(output, output + size)));
                 }),
                 {}});
  all.push_back({"IBase64::Decode",
                 on([](IBase64& base64) {
                   Bytes output;
                   const auto code = base64.Decode(encoded, output);
                   return Result(code, Hex(output));
                 }),
                 {}});
}

void AddBlowfishAndBase64(std::vector<Operation>& all) {
  using I = IBlowfishAndBase64;
  static std::wstring wideCipher;
  static std::string cipher;
  {
    Object<I> object(Library());
    object->SetKey(kKey, sizeof(kKey));
    wchar_t text[256];
    object->EncodeText(kWideText, text, 256);
    wideCipher = text;
    cipher = Narrow(text);
  }
  const auto on = [&](std::function<std::string(I&)> body) {
    return On<I>(std::move(body), [](I& object) { object.SetKey(kKey, sizeof(kKey)); });
  };
  all.push_back({"IBlowfishAndBase64::SetKey",
                 on([](I& object) { return Result(object.SetKey(kKey, sizeof(kKey))); }),
                 {}});
  all.push_back({"IBlowfishAndBase64::EncodeText",
                 on([](I& object) {
                   wchar_t output[256] = {};
                   const auto code = object.EncodeText(kWideText, output, 256);
                   return Result(code, Narrow(output));
                 }),
                 {"MultiByteToWideChar 1", "WideCharToMultiByte 1"},
                 true});
  all.push_back({"IBlowfishAndBase64::DecodeToBytes",
                 on([](I& object) {
                   std::string output = kUnchanged;
                   const auto code = object.DecodeToBytes(cipher.data(), cipher.size(), output);
                   return Result(code, output);
                 }),
                 {}});
  all.push_back({"IBlowfishAndBase64::DecodeText",
                 on([](I& object) {
                   wchar_t output[256] = {};
                   const auto code = object.DecodeText(wideCipher.c_str(), output, 256);
                   return Result(code, Narrow(output));
                 }),
                 {"MultiByteToWideChar 1", "WideCharToMultiByte 0"},
                 true});
}

template <typename I>
std::string Digest(std::uint8_t (&digest)[I::kDigestBytes]) {
  return Hex(Bytes(std::begin(digest), std::end(digest)));
}

template <typename I>
Operation HashingFile(const std::string& name, bool isMissing, Allowed allowed) {
  return {name, On<I>([=](I& hash) {
            Text output = kWideUnchanged;
            const World& world = TheWorld();
            const std::wstring path = (isMissing ? world.missing : world.file).wstring();
            const auto code = hash.HashFile(path.c_str(), output);
            return Result(code, Narrow(output.CStr()));
          }),
          std::move(allowed), true};
}

void AddMd5(std::vector<Operation>& all) {
  const auto on = [](std::function<std::string(IMd5&)> body) {
    return On<IMd5>(std::move(body), [](IMd5& md5) { md5.Update(kContent, sizeof(kContent)); });
  };
  all.push_back({"IMd5::Init and Update",
                 on([](IMd5& md5) {
                   md5.Init();
                   md5.Update(kContent, sizeof(kContent));
                   return std::string("done");
                 }),
                 {}});
  all.push_back({"IMd5::GetHashString",
                 on([](IMd5& md5) {
                   Text output;
                   md5.GetHashString(output);
                   return Narrow(output.CStr());
                 }),
                 {},
                 true});
  all.push_back({"IMd5::Final",
                 on([](IMd5& md5) {
                   std::uint8_t digest[IMd5::kDigestBytes];
                   md5.Final(digest);
                   return Digest<IMd5>(digest);
                 }),
                 {}});
  all.push_back(HashingFile<IMd5>("IMd5::HashFile", false, kNoFile + kNoInnerObject));
  all.push_back(HashingFile<IMd5>("IMd5::HashFile of a missing file", true, kNoFile));
}

void AddSha256(std::vector<Operation>& all) {
  const auto on = [](std::function<std::string(ISha256&)> body) {
    return On<ISha256>(std::move(body),
                       [](ISha256& sha256) { sha256.Update(kContent, sizeof(kContent)); });
  };
  all.push_back({"ISha256::Init and Update",
                 on([](ISha256& sha256) {
                   const auto first = static_cast<std::uint32_t>(sha256.Init());
                   const auto second =
                       static_cast<std::uint32_t>(sha256.Update(kContent, sizeof(kContent)));
                   return Result(first) + " " + Result(second);
                 }),
                 {"BCryptOpenAlgorithmProvider 3221225480 3221225480",
                  "BCryptCreateHash 3221225495 3221225480", "BCryptHashData 0 3221225495"}});
  all.push_back({"ISha256::GetHashString",
                 on([](ISha256& sha256) {
                   Text output;
                   sha256.GetHashString(output);
                   return Narrow(output.CStr());
                 }),
                 {std::string("BCryptFinishHash ") + kZeroDigest},
                 true});
  all.push_back({"ISha256::Final",
                 on([](ISha256& sha256) {
                   std::uint8_t digest[ISha256::kDigestBytes] = {};
                   const auto status = static_cast<std::uint32_t>(sha256.Final(digest));
                   return Result(status, Digest<ISha256>(digest));
                 }),
                 {std::string("BCryptFinishHash 3221225495 ") + kZeroDigest}});
  // The service's failures are not reported.
  Allowed silently;
  for (const char* import :
       {"BCryptOpenAlgorithmProvider", "BCryptCreateHash", "BCryptFinishHash"}) {
    silently.push_back(std::string(import) + " 0 " + kZeroDigest);
  }
  silently.push_back(std::string("BCryptHashData 0 ") + kEmptyDigest);
  all.push_back(
      HashingFile<ISha256>("ISha256::HashFile", false, kNoFile + kNoInnerObject + silently));
}

using Verification = std::function<std::string(IDigitalSignature&)>;

Operation Verifying(const std::string& name, std::vector<ScriptedSignature> signatures,
                    Verification body, Allowed allowed) {
  const auto prepare = [=] {
    TheWorld().script.Play(signatures);
    return On<IDigitalSignature>(body)();
  };
  return {name, prepare, std::move(allowed), true};
}

std::string OpenStates() {
  const std::size_t open = TheWorld().script.OpenStates();
  return open == 0 ? "" : ", " + std::to_string(open) + " open";
}

std::string Describe(const SignatureInfo::Name& name) {
  std::string text;
  auto* pair = name.CreateConstEnum();
  for (; pair->IsValid(); pair->Next()) {
    text += Narrow(pair->Key()->CStr()) + "=";
    auto* value = pair->Value()->CreateConstEnum();
    for (; value->IsValid(); value->Next()) {
      text += Narrow(value->Current()->CStr()) + "/";
    }
    value->Release();
  }
  pair->Release();
  return text;
}

std::string Describe(const Chain& chain) {
  std::string text = "[";
  if (const Certificate* certificate = chain.certificates.GetHead()) {
    text += Describe(certificate->issuer) + " " + Describe(certificate->subject) + " " +
            Narrow(certificate->serial.CStr());
  }
  return text + " " + std::to_string(chain.timestamp) + "]";
}

std::string DescribeVerified(IDigitalSignature& signature) {
  kx::List<Chain> chains;
  const auto code = signature.GetDigitalSignature(TheWorld().file.wstring().c_str(), chains, true);
  std::string text = Result(code, chains.GetHead() ? Describe(*chains.GetHead()) : "no chain");
  return text + OpenStates();
}

void AddSignature(std::vector<Operation>& all) {
  all.push_back(Verifying("IDigitalSignature::GetDigitalSignature", {World::Signed()},
                          DescribeVerified,
                          kIncompleteChain + kOpenState + Allowed{"CreateFileW 4 no chain"}));
  all.push_back(Verifying("IDigitalSignature::GetDigitalSignature, unsigned", {World::Unsigned()},
                          DescribeVerified, kOpenState + Allowed{"CreateFileW 4 no chain"}));
  all.push_back(Verifying("IDigitalSignature::VerifyFile", {World::Unsigned()},
                          [](IDigitalSignature& signature) {
                            const Text path = TheWorld().file.wstring().c_str();
                            return Result(signature.VerifyFile(path, false)) + OpenStates();
                          },
                          {"CreateFileW 4"}));
  all.push_back(Verifying("IDigitalSignature::IsSigned", {World::Unsigned()},
                          [](IDigitalSignature& signature) {
                            const Text path = TheWorld().file.wstring().c_str();
                            return Result(signature.IsSigned(path, false)) + OpenStates();
                          },
                          {"CreateFileW 0"}));
  const auto prepare = [] {
    TheWorld().script.Play({World::Signed()});
    return On<IDigitalSignature>(
        [](IDigitalSignature& signature) {
          std::vector<Chain> chains;
          signature.GetTrustedChains(chains);
          signature.SetObserver(nullptr);
          return chains.empty() ? "none" : Describe(chains[0]);
        },
        [](IDigitalSignature& signature) {
          signature.VerifyFile(TheWorld().file.wstring().c_str(), false);
        })();
  };
  all.push_back({"IDigitalSignature::GetTrustedChains", prepare, {}, true});
}

void AddExports(std::vector<Operation>& all) {
  static std::string cipher;
  char text[256] = {};
  Library().encodeText(kText, "secret", text, sizeof(text));
  cipher = text;
  const auto exported = [](auto call) {
    return [=]() -> Operation::Body {
      return [=] {
        char output[256] = "unchanged";
        const std::uint32_t code = call(output);
        return Result(code, output);
      };
    };
  };
  all.push_back({"BlowfishAndBase64Encode", exported([](char* output) {
                   return Library().encodeText(kText, "secret", output, 256);
                 }),
                 kUnconverted + kNoInnerObject, true});
  all.push_back({"Base64AndBlowfishDecode", exported([](char* output) {
                   return Library().decodeText(cipher.c_str(), "secret", output, 256);
                 }),
                 kUnconverted + kNoInnerObject, true});
  all.push_back({"CalculateTextMd5",
                 exported([](char* output) { return Library().textMd5(kText, output); }),
                 kUnconverted + kNoHashObject, true});
  all.push_back({"CalculateWideCharTextMd5",
                 exported([](char* output) { return Library().wideTextMd5(kWideText, output); }),
                 kUnconverted + kNoHashObject +
                     Allowed{"WideCharToMultiByte 0 d41d8cd98f00b204e9800998ecf8427e"},
                 true});
}

}  // namespace

const std::vector<Operation>& Operations() {
  static const std::vector<Operation> operations = [] {
    TheWorld();
    std::vector<Operation> all;
    AddFactory(all);
    AddBlowfish(all);
    AddBase64(all);
    AddBlowfishAndBase64(all);
    AddMd5(all);
    AddSha256(all);
    AddSignature(all);
    AddExports(all);
    return all;
  }();
  return operations;
}

}  // namespace Cifra::Test

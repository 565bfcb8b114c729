#include <windows.h>
// windows.h comes first
#include <psapi.h>

#include <memory>

#include "Bench.h"
#include "Cifra/Cifra.h"
#include "cipher/Base64Codec.h"
#include "cipher/BlowfishEngine.h"
#include "hash/Md5Engine.h"

// Cifra.dll as its callers know it, beside its engines called in place: what the boundary costs.
namespace Cifra::Bench {
namespace {

constexpr std::size_t kLibrarySizes[] = {16, 1024, 65536, 1 << 20, 16 << 20};
constexpr std::size_t kKeyBytes = 16;

const ObjectFactory kFactory{KxCreateObject, KxDestroyObject};

// Each subject does what the others of its row do; see Bench.h.

struct LibraryEncrypt {
  Object<IBlowfish> object{kFactory};
  Bytes input;
  Bytes output;

  explicit LibraryEncrypt(std::size_t size) : input(RandomBytes(size)), output(size) {
    object->SetKey(RandomBytes(kKeyBytes).data(), kKeyBytes);
  }
  void operator()() { object->Encrypt(input.data(), input.size(), output); }
};

struct EngineEncrypt {
  class_blowfish engine;
  Bytes input;
  Bytes output;

  explicit EngineEncrypt(std::size_t size) : input(RandomBytes(size)), output(size) {
    engine.Initialize(RandomBytes(kKeyBytes).data(), kKeyBytes);
  }
  void operator()() {
    engine.EncipherBlocks(input.data(), output.data(), input.size() / class_blowfish::kBlockBytes);
  }
};

struct LibraryEncode {
  Object<IBase64> object{kFactory};
  Bytes input;
  std::string output;

  explicit LibraryEncode(std::size_t size) : input(RandomBytes(size)) {}
  void operator()() { object->Encode(input, output, true); }
};

struct EngineEncode {
  Bytes input;
  std::string output;

  explicit EngineEncode(std::size_t size)
      : input(RandomBytes(size)), output(Base64Codec::EncodedLength(size, true), 0) {}
  void operator()() { Base64Codec::Encode(input.data(), input.size(), output.data(), true); }
};

template <typename Hash>
struct LibraryHash {
  Object<Hash> object{kFactory};
  Bytes message;

  explicit LibraryHash(std::size_t size) : message(RandomBytes(size)) {}
  void operator()() { object->Update(message.data(), static_cast<std::uint32_t>(message.size())); }
};

struct EngineMd5 {
  Md5Context context;
  Bytes message;

  explicit EngineMd5(std::size_t size) : message(RandomBytes(size)) { Md5Init(context); }
  void operator()() {
    Md5Update(context, message.data(), static_cast<std::uint32_t>(message.size()));
  }
};

struct LibraryEncodeText {
  Object<IBlowfishAndBase64> object{kFactory};
  std::wstring text;
  std::wstring result;

  explicit LibraryEncodeText(std::size_t size) : text(size, L'x'), result(2 * size + 64, L'\0') {
    object->SetKey(RandomBytes(kKeyBytes).data(), kKeyBytes);
  }
  void operator()() {
    object->EncodeText(text.c_str(), result.data(), static_cast<std::uint32_t>(result.size()));
  }
};

// The whole life of an object: made, asked for its service, used for as little as it can be used
// for, destroyed.
template <typename Service, typename Use>
void AddLife(const std::string& name, Use use) {
  benchmark::RegisterBenchmark(("life/" + name + "/0").c_str(), [=](benchmark::State& state) {
    for (auto _ : state) {
      const Object<Service> object(kFactory);
      use(object);
    }
  });
}

std::int64_t PeakBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return static_cast<std::int64_t>(counters.PeakWorkingSetSize);
}

// The file that CIFRA_BENCH_FILE names, over and over, so that it comes from the cache.
template <typename Hash>
void AddHashFile(const std::string& name, const std::wstring& path, std::int64_t size) {
  benchmark::RegisterBenchmark(
      (name + "-file/library/" + std::to_string(size)).c_str(), [=](benchmark::State& state) {
        const Object<Hash> object(kFactory);
        kx::StringT<wchar_t> digest;
        const std::int64_t idle = PeakBytes();
        for (auto _ : state) {
          Require(object->HashFile(path.c_str(), digest) == kCifraSuccess, "HashFile");
        }
        state.SetBytesProcessed(state.iterations() * size);
        state.counters["peakBytesAboveIdle"] = static_cast<double>(PeakBytes() - idle);
      });
}

void AddHashFiles() {
  wchar_t path[32768];
  WIN32_FILE_ATTRIBUTE_DATA file;
  if (GetEnvironmentVariableW(L"CIFRA_BENCH_FILE", path, 32768) == 0) {
    return;
  }
  Require(GetFileAttributesExW(path, GetFileExInfoStandard, &file), "CIFRA_BENCH_FILE");
  const std::int64_t size = static_cast<std::int64_t>(file.nFileSizeHigh) << 32 | file.nFileSizeLow;
  AddHashFile<IMd5>("md5", path, size);
  AddHashFile<ISha256>("sha256", path, size);
}

}  // namespace

void Register() {
  AddHashFiles();  // first, while the process is small
  for (const std::size_t size : kLibrarySizes) {
    Add<LibraryEncrypt>("blowfish-encrypt", "library", size);
    Add<EngineEncrypt>("blowfish-encrypt", "engine", size);
    Add<LibraryEncode>("base64-encode", "library", size);
    Add<EngineEncode>("base64-encode", "engine", size);
    Add<LibraryHash<IMd5>>("md5-update", "library", size);
    Add<EngineMd5>("md5-update", "engine", size);
    Add<LibraryHash<ISha256>>("sha256-update", "library", size);
  }
  for (const std::size_t size : {16u, 700u, 65536u}) {
    Add<LibraryEncodeText>("encode-text", "library", size);
  }
  AddLife<IBlowfish>("blowfish",
                     [](const auto& object) { object->SetKey(RandomBytes(8).data(), 8); });
  AddLife<IBase64>("base64", [](const auto& object) { object->GetDecodedSize(4); });
  AddLife<IBlowfishAndBase64>("blowfish-and-base64", [](const auto& object) {
    wchar_t result[1];
    object->EncodeText(L"", result, 1);
  });
  AddLife<IMd5>("md5", [](const auto& object) { object->Init(); });
  AddLife<ISha256>("sha256", [](const auto& object) { object->Init(); });
  AddLife<IDigitalSignature>("digital-signature",
                             [](const auto& object) { object->SetObserver(nullptr); });
}

}  // namespace Cifra::Bench

#include <botan/base64.h>
#include <modp_b64.h>
#include <nettle/base64.h>
#include <openssl/evp.h>

#include <cstring>
#include <utility>

#include "Bench.h"
#include "cipher/Base64Codec.h"
#include "cipher/Base64Kernel.h"

namespace Cifra::Bench {
namespace {

// One class a library: bytes to padded text, and unpadded text of whole groups back to bytes. Text
// is held as bytes; a row's size is that of its input.

struct CifraBase64 {
  static void Encode(const Bytes& input, Bytes& output) {
    Base64Codec::Encode(input.data(), input.size(), reinterpret_cast<char*>(output.data()), true);
  }
  static void Decode(const Bytes& input, Bytes& output) {
    Base64Codec::Decode(reinterpret_cast<const char*>(input.data()), input.size(), output.data());
  }
};

// The kernels, each forced.
template <std::size_t kKernel>
struct ForcedBase64 {
  static void Encode(const Bytes& input, Bytes& output) {
    Base64Codec::Kernels()[kKernel].encode(input.data(), input.size(),
                                           reinterpret_cast<char*>(output.data()), true);
  }
  static void Decode(const Bytes& input, Bytes& output) {
    Base64Codec::Kernels()[kKernel].decode(reinterpret_cast<const char*>(input.data()),
                                           input.size(), output.data());
  }
};

// No conversion: what copying as many bytes as are read would take.
struct Copy {
  static void Encode(const Bytes& input, Bytes& output) {
    std::memcpy(output.data(), input.data(), input.size());
  }
  static void Decode(const Bytes& input, Bytes& output) { Encode(input, output); }
};

struct BotanBase64 {
  static void Encode(const Bytes& input, Bytes& output) {
    std::size_t consumed = 0;
    Botan::base64_encode(reinterpret_cast<char*>(output.data()), input.data(), input.size(),
                         consumed, true);
  }
  static void Decode(const Bytes& input, Bytes& output) {
    Botan::base64_decode(output.data(), reinterpret_cast<const char*>(input.data()), input.size(),
                         false);
  }
};

struct ModpBase64 {
  static void Encode(const Bytes& input, Bytes& output) {
    modp_b64_encode(reinterpret_cast<char*>(output.data()),
                    reinterpret_cast<const char*>(input.data()), input.size());
  }
  static void Decode(const Bytes& input, Bytes& output) {
    modp_b64_decode(reinterpret_cast<char*>(output.data()),
                    reinterpret_cast<const char*>(input.data()), input.size());
  }
};

struct NettleBase64 {
  static void Encode(const Bytes& input, Bytes& output) {
    base64_encode_raw(reinterpret_cast<char*>(output.data()), input.size(), input.data());
  }
  static void Decode(const Bytes& input, Bytes& output) {
    base64_decode_ctx context;
    base64_decode_init(&context);
    std::size_t count = output.size();
    base64_decode_update(&context, &count, output.data(), input.size(),
                         reinterpret_cast<const char*>(input.data()));
    base64_decode_final(&context);
  }
};

struct OpenSslBase64 {
  static void Encode(const Bytes& input, Bytes& output) {
    EVP_EncodeBlock(output.data(), input.data(), static_cast<int>(input.size()));
  }
  static void Decode(const Bytes& input, Bytes& output) {
    EVP_DecodeBlock(output.data(), input.data(), static_cast<int>(input.size()));
  }
};

constexpr std::size_t kTerminator = 1;  // some of the libraries write one

template <typename Base64>
struct Encoding {
  Bytes input;
  Bytes output;

  explicit Encoding(std::size_t size)
      : input(RandomBytes(size)), output(Base64Codec::EncodedLength(size, true) + kTerminator) {}
  void operator()() { Base64::Encode(input, output); }
};

template <typename Base64>
struct Decoding {
  Bytes input;
  Bytes output;

  explicit Decoding(std::size_t size) : input(size), output(size) {
    Base64Codec::Encode(RandomBytes(size / 4 * 3).data(), size / 4 * 3,
                        reinterpret_cast<char*>(input.data()), true);
  }
  void operator()() { Base64::Decode(input, output); }
};

template <typename Base64>
void AddBase64(const std::string& library) {
  Encoding<CifraBase64> ourText(1000);
  Encoding<Base64> theirText(1000);
  ourText();
  theirText();
  ourText.output.pop_back();
  theirText.output.pop_back();
  Require(theirText.output == ourText.output, library);
  Decoding<CifraBase64> ourBytes(1000);
  Decoding<Base64> theirBytes(1000);
  ourBytes();
  theirBytes();
  ourBytes.output.resize(750);
  theirBytes.output.resize(750);
  Require(theirBytes.output == ourBytes.output, library);
  AddForAllSizes<Encoding<Base64>>("base64-encode", library);
  AddForAllSizes<Decoding<Base64>>("base64-decode", library);
}

template <std::size_t... kIndices>
void AddForced(std::index_sequence<kIndices...>) {
  const auto add = []<std::size_t kIndex>() {
    if (KernelRules::kBase64[kIndex].isUsable()) {
      AddBase64<ForcedBase64<kIndex>>("cifra-" + std::string(KernelRules::kBase64[kIndex].name));
    }
  };
  (add.template operator()<kIndices>(), ...);
}

}  // namespace

void RegisterBase64() {
  AddBase64<CifraBase64>("cifra");
  AddForced(std::make_index_sequence<std::size(KernelRules::kBase64)>());
  AddBase64<BotanBase64>("botan");
  AddBase64<ModpBase64>("modp");
  AddBase64<NettleBase64>("nettle");
  AddBase64<OpenSslBase64>("openssl");
  AddForAllSizes<Encoding<Copy>>("base64-encode", "memcpy");
  AddForAllSizes<Decoding<Copy>>("base64-decode", "memcpy");
}

}  // namespace Cifra::Bench

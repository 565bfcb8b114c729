#define OPENSSL_SUPPRESS_DEPRECATED  // the low-level functions are the faster ones

#include <botan/block_cipher.h>
#include <crypto++/blowfish.h>
#include <gcrypt.h>
#include <nettle/blowfish.h>
#include <openssl/blowfish.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Bench.h"
#include "cipher/BlowfishEngine.h"

namespace Cifra::Bench {
namespace {

constexpr std::size_t kBlock = 8;
constexpr std::size_t kKeyBytes = 16;

// One class a library: a key of 16 bytes, then whole blocks.

struct CifraCipher {
  class_blowfish engine;

  void SetKey(const Bytes& key) { engine.Initialize(key.data(), kKeyBytes); }
  void Encrypt(const Bytes& input, Bytes& output) {
    engine.EncipherBlocks(input.data(), output.data(), input.size() / kBlock);
  }
  void Decrypt(const Bytes& input, Bytes& output) {
    engine.DecipherBlocks(input.data(), output.data(), input.size() / kBlock);
  }
};

// The kernels, each forced.
template <std::size_t kKernel>
struct ForcedCipher {
  class_blowfish engine;
  const BlowfishBlocks::Kernel& kernel = BlowfishBlocks::Kernels()[kKernel];

  void SetKey(const Bytes& key) { engine.Initialize(key.data(), kKeyBytes); }
  void Encrypt(const Bytes& input, Bytes& output) {
    EncipherWith(kernel, engine.Tables(), input.data(), output.data(), input.size() / kBlock);
  }
  void Decrypt(const Bytes& input, Bytes& output) {
    DecipherWith(kernel, engine.Tables(), input.data(), output.data(), input.size() / kBlock);
  }
};

struct OpenSslCipher {
  BF_KEY schedule;

  void SetKey(const Bytes& key) { BF_set_key(&schedule, kKeyBytes, key.data()); }
  void Encrypt(const Bytes& input, Bytes& output) { ForEachBlock(input, output, BF_ENCRYPT); }
  void Decrypt(const Bytes& input, Bytes& output) { ForEachBlock(input, output, BF_DECRYPT); }

 private:
  void ForEachBlock(const Bytes& input, Bytes& output, int direction) {
    for (std::size_t i = 0; i < input.size(); i += kBlock) {
      BF_ecb_encrypt(&input[i], &output[i], &schedule, direction);
    }
  }
};

struct OpenSslEvpCipher {
  OpenSslEvpCipher() {
    static OSSL_PROVIDER* const legacy = OSSL_PROVIDER_load(nullptr, "legacy");
    static OSSL_PROVIDER* const standard = OSSL_PROVIDER_load(nullptr, "default");
    Require(legacy && standard, "OpenSSL's legacy provider");
  }

  void SetKey(const Bytes& key) {
    static EVP_CIPHER* const cipher = EVP_CIPHER_fetch(nullptr, "BF-ECB", nullptr);
    for (auto* const context : {encrypting.get(), decrypting.get()}) {
      const int isEncrypting = context == encrypting.get();
      EVP_CipherInit_ex2(context, cipher, key.data(), nullptr, isEncrypting, nullptr);
      EVP_CIPHER_CTX_set_padding(context, 0);
    }
  }
  void Encrypt(const Bytes& input, Bytes& output) { Update(encrypting.get(), input, output); }
  void Decrypt(const Bytes& input, Bytes& output) { Update(decrypting.get(), input, output); }

 private:
  using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

  static void Update(EVP_CIPHER_CTX* context, const Bytes& input, Bytes& output) {
    int count = 0;
    EVP_CipherUpdate(context, output.data(), &count, input.data(), static_cast<int>(input.size()));
  }

  Context encrypting{EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free};
  Context decrypting{EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free};
};

struct BotanCipher {
  std::unique_ptr<Botan::BlockCipher> cipher = Botan::BlockCipher::create_or_throw("Blowfish");

  void SetKey(const Bytes& key) { cipher->set_key(key.data(), kKeyBytes); }
  void Encrypt(const Bytes& input, Bytes& output) {
    cipher->encrypt_n(input.data(), output.data(), input.size() / kBlock);
  }
  void Decrypt(const Bytes& input, Bytes& output) {
    cipher->decrypt_n(input.data(), output.data(), input.size() / kBlock);
  }
};

struct NettleCipher {
  blowfish_ctx context;

  void SetKey(const Bytes& key) { blowfish_set_key(&context, kKeyBytes, key.data()); }
  void Encrypt(const Bytes& input, Bytes& output) {
    blowfish_encrypt(&context, input.size(), output.data(), input.data());
  }
  void Decrypt(const Bytes& input, Bytes& output) {
    blowfish_decrypt(&context, input.size(), output.data(), input.data());
  }
};

struct GcryptCipher {
  gcry_cipher_hd_t handle = nullptr;

  GcryptCipher() { gcry_cipher_open(&handle, GCRY_CIPHER_BLOWFISH, GCRY_CIPHER_MODE_ECB, 0); }
  ~GcryptCipher() { gcry_cipher_close(handle); }
  GcryptCipher(const GcryptCipher&) = delete;
  GcryptCipher& operator=(const GcryptCipher&) = delete;

  void SetKey(const Bytes& key) { gcry_cipher_setkey(handle, key.data(), kKeyBytes); }
  void Encrypt(const Bytes& input, Bytes& output) {
    gcry_cipher_encrypt(handle, output.data(), output.size(), input.data(), input.size());
  }
  void Decrypt(const Bytes& input, Bytes& output) {
    gcry_cipher_decrypt(handle, output.data(), output.size(), input.data(), input.size());
  }
};

struct CryptoPpCipher {
  CryptoPP::BlowfishEncryption encryption;
  CryptoPP::BlowfishDecryption decryption;

  void SetKey(const Bytes& key) {
    encryption.SetKey(key.data(), kKeyBytes);
    decryption.SetKey(key.data(), kKeyBytes);
  }
  void Encrypt(const Bytes& input, Bytes& output) { Process(encryption, input, output); }
  void Decrypt(const Bytes& input, Bytes& output) { Process(decryption, input, output); }

 private:
  static void Process(const CryptoPP::BlockTransformation& cipher, const Bytes& input,
                      Bytes& output) {
    cipher.AdvancedProcessBlocks(input.data(), nullptr, output.data(), input.size(), 0);
  }
};

template <typename Cipher>
struct Subject {
  Cipher cipher;
  Bytes input;
  Bytes output;

  explicit Subject(std::size_t size) : input(RandomBytes(size)), output(size) {
    cipher.SetKey(RandomBytes(kKeyBytes));
  }
};

template <typename Cipher>
struct Encrypting : Subject<Cipher> {
  using Subject<Cipher>::Subject;
  void operator()() { this->cipher.Encrypt(this->input, this->output); }
};

template <typename Cipher>
struct Decrypting : Subject<Cipher> {
  using Subject<Cipher>::Subject;
  void operator()() { this->cipher.Decrypt(this->input, this->output); }
};

template <typename Cipher>
struct Keying : Subject<Cipher> {
  using Subject<Cipher>::Subject;
  void operator()() { this->cipher.SetKey(this->input); }
};

Bytes SwapHalves(Bytes bytes) {
  for (auto half = bytes.begin(); half != bytes.end(); half += 4) {
    std::reverse(half, half + 4);
  }
  return bytes;
}

// The other libraries' halves are big-endian.
template <typename Cipher>
void RequireAgreement(const std::string& library) {
  constexpr std::size_t kLength = 1000;
  Subject<CifraCipher> ours(kLength);
  Subject<Cipher> theirs(kLength);
  const Bytes message = theirs.input;
  ours.cipher.Encrypt(SwapHalves(message), ours.output);
  theirs.cipher.Encrypt(message, theirs.output);
  Require(theirs.output == SwapHalves(ours.output), library);
  const Bytes cipherText = theirs.output;
  theirs.cipher.Decrypt(cipherText, theirs.output);
  Require(theirs.output == message, library);
}

template <typename Cipher>
void AddCipher(const std::string& library) {
  AddForAllSizes<Encrypting<Cipher>>("blowfish-encrypt", library);
  AddForAllSizes<Decrypting<Cipher>>("blowfish-decrypt", library);
  Add<Keying<Cipher>>("blowfish-key", library, kKeyBytes);
}

template <std::size_t... kIndices>
void AddForced(std::index_sequence<kIndices...>) {
  const auto add = []<std::size_t kIndex>() {
    const KernelRule& rule = KernelRules::kBlowfish[kIndex];
    if (rule.isUsable()) {
      const std::string name = "cifra-" + std::string(rule.name);
      AddForAllSizes<Encrypting<ForcedCipher<kIndex>>>("blowfish-encrypt", name);
      AddForAllSizes<Decrypting<ForcedCipher<kIndex>>>("blowfish-decrypt", name);
    }
  };
  (add.template operator()<kIndices>(), ...);
}

template <typename Cipher>
void AddPeer(const std::string& library) {
  RequireAgreement<Cipher>(library);
  AddCipher<Cipher>(library);
}

}  // namespace

void RegisterBlowfish() {
  gcry_check_version(nullptr);
  AddCipher<CifraCipher>("cifra");
  AddForced(std::make_index_sequence<std::size(KernelRules::kBlowfish)>());
  AddPeer<BotanCipher>("botan");
  AddPeer<CryptoPpCipher>("cryptopp");
  AddPeer<GcryptCipher>("libgcrypt");
  AddPeer<NettleCipher>("nettle");
  AddPeer<OpenSslCipher>("openssl");
  AddPeer<OpenSslEvpCipher>("openssl-evp");
}

}  // namespace Cifra::Bench

#define OPENSSL_SUPPRESS_DEPRECATED       // the low-level functions are the faster ones
#define CRYPTOPP_ENABLE_NAMESPACE_WEAK 1  // Crypto++ files MD5 under Weak

#include <botan/hash.h>
#include <crypto++/md5.h>
#include <gcrypt.h>
#include <nettle/md5.h>
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <array>
#include <memory>
#include <utility>

#include "Bench.h"
#include "hash/Md5Engine.h"
#include "hash/Md5Kernel.h"

namespace Cifra::Bench {
namespace {

using Digest = std::array<std::uint8_t, 16>;

// One class a library: the digest of a message, by whichever of its ways is the fastest.

struct CifraMd5 {
  void Hash(const Bytes& message, Digest& digest) {
    Md5Context context;
    Md5Init(context);
    Md5Update(context, message.data(), static_cast<std::uint32_t>(message.size()));
    Md5Final(context, reinterpret_cast<std::uint8_t(&)[16]>(digest));
  }
};

// The kernels, each forced. Only whole blocks: what is done besides is the same for all.
template <std::size_t kKernel>
struct ForcedMd5 {
  Bytes message;
  std::uint32_t state[4] = {};

  explicit ForcedMd5(std::size_t size) : message(RandomBytes(size)) {}
  void operator()() {
    const auto length = static_cast<std::uint32_t>(message.size());
    Md5Blocks::Kernels()[kKernel].transform(state, message.data(), length);
    benchmark::DoNotOptimize(state);
  }
};

struct BotanMd5 {
  std::unique_ptr<Botan::HashFunction> hash = Botan::HashFunction::create_or_throw("MD5");

  void Hash(const Bytes& message, Digest& digest) {
    hash->update(message.data(), message.size());
    hash->final(digest.data());
  }
};

struct CryptoPpMd5 {
  CryptoPP::Weak::MD5 hash;

  void Hash(const Bytes& message, Digest& digest) {
    hash.CalculateDigest(digest.data(), message.data(), message.size());
  }
};

struct GcryptMd5 {
  void Hash(const Bytes& message, Digest& digest) {
    gcry_md_hash_buffer(GCRY_MD_MD5, digest.data(), message.data(), message.size());
  }
};

struct NettleMd5 {
  void Hash(const Bytes& message, Digest& digest) {
    md5_ctx context;
    md5_init(&context);
    md5_update(&context, message.size(), message.data());
    md5_digest(&context, digest.size(), digest.data());
  }
};

struct OpenSslMd5 {
  void Hash(const Bytes& message, Digest& digest) {
    MD5_CTX context;
    MD5_Init(&context);
    MD5_Update(&context, message.data(), message.size());
    MD5_Final(digest.data(), &context);
  }
};

struct OpenSslEvpMd5 {
  EVP_MD* md = EVP_MD_fetch(nullptr, "MD5", nullptr);
  EVP_MD_CTX* context = EVP_MD_CTX_new();

  OpenSslEvpMd5() = default;
  ~OpenSslEvpMd5() {
    EVP_MD_CTX_free(context);
    EVP_MD_free(md);
  }
  OpenSslEvpMd5(const OpenSslEvpMd5&) = delete;
  OpenSslEvpMd5& operator=(const OpenSslEvpMd5&) = delete;

  void Hash(const Bytes& message, Digest& digest) {
    EVP_DigestInit_ex2(context, md, nullptr);
    EVP_DigestUpdate(context, message.data(), message.size());
    EVP_DigestFinal_ex(context, digest.data(), nullptr);
  }
};

template <typename Md5>
struct Hashing {
  Md5 md5;
  Bytes message;
  Digest digest{};

  explicit Hashing(std::size_t size) : message(RandomBytes(size)) {}
  void operator()() {
    md5.Hash(message, digest);
    benchmark::DoNotOptimize(digest);
  }
};

template <typename Md5>
void AddMd5(const std::string& library) {
  Hashing<CifraMd5> ours(1000);
  Hashing<Md5> theirs(1000);
  ours();
  theirs();
  Require(theirs.digest == ours.digest, library);
  AddForAllSizes<Hashing<Md5>>("md5", library);
}

template <std::size_t... kIndices>
void AddForced(std::index_sequence<kIndices...>) {
  const auto add = []<std::size_t kIndex>() {
    const KernelRule& rule = KernelRules::kMd5[kIndex];
    for (const std::size_t size : kSizes) {
      if (rule.isUsable() && size % 64 == 0) {
        Add<ForcedMd5<kIndex>>("md5", "cifra-" + std::string(rule.name), size);
      }
    }
  };
  (add.template operator()<kIndices>(), ...);
}

}  // namespace

void RegisterMd5() {
  AddMd5<CifraMd5>("cifra");
  AddForced(std::make_index_sequence<std::size(KernelRules::kMd5)>());
  AddMd5<BotanMd5>("botan");
  AddMd5<CryptoPpMd5>("cryptopp");
  AddMd5<GcryptMd5>("libgcrypt");
  AddMd5<NettleMd5>("nettle");
  AddMd5<OpenSslMd5>("openssl");
  AddMd5<OpenSslEvpMd5>("openssl-evp");
}

}  // namespace Cifra::Bench

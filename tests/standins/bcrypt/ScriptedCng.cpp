#include <windows.h>
#include <bcrypt.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "CngScript.h"

namespace {

constexpr NTSTATUS kSuccess = 0;

struct Algorithm {};
struct Hash {
  bool isFinished = false;
};

constexpr NTSTATUS kUnsuccessful = static_cast<NTSTATUS>(0xC0000001);

// A test in another process names the failing call in the environment.
Cifra::Test::CngScript script{std::getenv("CIFRA_FAILING_CNG_CALL"), kUnsuccessful};
std::string calls;
std::string callsGiven;

// The recorded arguments of a call.
class Arguments {
 public:
  Arguments& Number(std::uint64_t number) { return Add(std::to_string(number)); }
  Arguments& Handle(const void* handle, const char* kind) { return Add(handle ? kind : "null"); }
  Arguments& Text(const wchar_t* text) {
    std::string ascii;
    for (const wchar_t* character = text ? text : L"null"; *character; ++character) {
      ascii += static_cast<char>(*character);
    }
    return Add(ascii);
  }
  const std::string& Line() const { return line; }

 private:
  Arguments& Add(const std::string& argument) {
    line.append(1, ' ').append(argument);
    return *this;
  }

  std::string line;
};

// Records a call; true if it is to fail.
bool MustFail(const char* call, const Arguments& arguments) {
  calls.append(call).append(arguments.Line()).append(1, '\n');
  return script.failingCall && std::strcmp(script.failingCall, call) == 0;
}

}  // namespace

extern "C" {

Cifra::Test::CngScript* CngScript() { return &script; }

const char* CngCalls() {
  callsGiven = std::exchange(calls, {});
  return callsGiven.c_str();
}

NTSTATUS WINAPI BCryptOpenAlgorithmProvider(BCRYPT_ALG_HANDLE* algorithm, LPCWSTR algorithmId,
                                            LPCWSTR implementation, ULONG flags) {
  if (MustFail("BCryptOpenAlgorithmProvider",
               Arguments().Text(algorithmId).Text(implementation).Number(flags))) {
    return script.status;
  }
  *algorithm = new Algorithm;
  ++script.openAlgorithms;
  return kSuccess;
}

NTSTATUS WINAPI BCryptCloseAlgorithmProvider(BCRYPT_ALG_HANDLE algorithm, ULONG flags) {
  if (MustFail("BCryptCloseAlgorithmProvider",
               Arguments().Handle(algorithm, "algorithm").Number(flags))) {
    return script.status;
  }
  delete static_cast<Algorithm*>(algorithm);
  --script.openAlgorithms;
  return kSuccess;
}

NTSTATUS WINAPI BCryptCreateHash(BCRYPT_ALG_HANDLE algorithm, BCRYPT_HASH_HANDLE* hash,
                                 PUCHAR object, ULONG objectLength, PUCHAR secret,
                                 ULONG secretLength, ULONG flags) {
  if (MustFail("BCryptCreateHash", Arguments()
                                       .Handle(algorithm, "algorithm")
                                       .Handle(object, "object")
                                       .Number(objectLength)
                                       .Handle(secret, "secret")
                                       .Number(secretLength)
                                       .Number(flags))) {
    return script.status;
  }
  if (!algorithm) {
    return Cifra::Test::kInvalidHandle;
  }
  *hash = new Hash;
  ++script.openHashes;
  return kSuccess;
}

NTSTATUS WINAPI BCryptDestroyHash(BCRYPT_HASH_HANDLE hash) {
  if (MustFail("BCryptDestroyHash", Arguments().Handle(hash, "hash"))) {
    return script.status;
  }
  delete static_cast<Hash*>(hash);
  --script.openHashes;
  return kSuccess;
}

NTSTATUS WINAPI BCryptHashData(BCRYPT_HASH_HANDLE hash, PUCHAR, ULONG length, ULONG flags) {
  if (MustFail("BCryptHashData", Arguments().Handle(hash, "hash").Number(length).Number(flags))) {
    return script.status;
  }
  return hash && !static_cast<Hash*>(hash)->isFinished ? kSuccess : Cifra::Test::kInvalidHandle;
}

NTSTATUS WINAPI BCryptFinishHash(BCRYPT_HASH_HANDLE handle, PUCHAR digest, ULONG length,
                                 ULONG flags) {
  if (MustFail("BCryptFinishHash",
               Arguments().Handle(handle, "hash").Number(length).Number(flags))) {
    return script.status;
  }
  Hash* hash = static_cast<Hash*>(handle);
  if (!hash || hash->isFinished) {
    return Cifra::Test::kInvalidHandle;
  }
  for (ULONG i = 0; i < length; ++i) {
    digest[i] = static_cast<UCHAR>(i + 1);
  }
  hash->isFinished = true;
  return kSuccess;
}

}  // extern "C"

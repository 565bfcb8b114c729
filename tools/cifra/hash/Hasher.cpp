#include "hash/Hasher.h"

#include <cstdint>
#include <span>
#include <type_traits>

#include "program/Hex.h"
#include "program/Progress.h"
#include "system/Failure.h"
#include "system/Input.h"
#include "system/Interruption.h"

namespace client {
namespace {

// Of the two interfaces one reports a status and the other cannot fail.
template <typename Call>
void Checked(const Input& input, Call call) {
  if constexpr (std::is_void_v<decltype(call())>) {
    call();
  } else if (const std::int32_t status = call(); status != 0) {
    throw Failure(ExitCode::kInternal, input.Name() +
                                           ": the system's hashing service failed (status " +
                                           std::to_string(status) + ")");
  }
}

}  // namespace

template <typename Interface>
std::string Hasher::DigestOf(Interface& hash, Input& input) {
  Checked(input, [&] { return hash.Init(); });
  reader.ForEachPiece(input, [&](std::span<const std::uint8_t> piece) {
    ThrowIfInterrupted();
    Checked(input,
            [&] { return hash.Update(piece.data(), static_cast<std::uint32_t>(piece.size())); });
    progress.Add(piece.size());
  });
  std::uint8_t digest[Interface::kDigestBytes] = {};
  Checked(input, [&] { return hash.Final(digest); });
  return ToHex(digest);
}

std::string Hasher::Digest(const Algorithm& algorithm, Input& input) {
  if (&algorithm == &kMd5) {
    if (!md5) {
      md5.emplace(library);
    }
    return DigestOf(**md5, input);
  }
  if (!sha256) {
    sha256.emplace(library);
  }
  return DigestOf(**sha256, input);
}

}  // namespace client

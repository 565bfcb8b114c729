#include "cipher/Base64ObjectImplementation.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "Cifra/ResultCodes.h"
#include "cipher/Base64Codec.h"
#include "foundation/Wiped.h"
#include "framework/QueryInterfaceOf.h"

namespace {

constexpr std::size_t kMaxPadding = 2;

// Growing a string fills it with zeros. A large output grows by pieces of so many characters, whose
// zeros are still in the cache when the text overwrites them.
constexpr std::size_t kPieceCharacters = std::size_t{64} * 1024;
constexpr std::size_t kPieceBytes = kPieceCharacters / 4 * 3;
constexpr std::size_t kLeastForPieces = std::size_t{1024} * 1024;

std::string EncodeInPieces(const std::uint8_t* input, std::size_t inputLength, std::size_t encoded,
                           bool addPadding) {
  std::string text;
  text.reserve(encoded);
  for (; inputLength > kPieceBytes; inputLength -= kPieceBytes, input += kPieceBytes) {
    const std::size_t done = text.size();
    text.resize(done + kPieceCharacters);
    Cifra::Base64Codec::Encode(input, kPieceBytes, text.data() + done, false);
  }
  const std::size_t done = text.size();
  text.resize(encoded);
  Cifra::Base64Codec::Encode(input, inputLength, text.data() + done, addPadding);
  return text;
}

// The number of padding characters in the last group, written or omitted.
std::size_t PaddingCount(const std::string& text) {
  const std::size_t omitted = (4 - text.size() % 4) % 4;
  if (omitted != 0) {
    return omitted;
  }
  const std::size_t lastData = text.find_last_not_of('=');
  return text.size() - (lastData == std::string::npos ? 0 : lastData + 1);
}

}  // namespace

void* Base64ObjectImplementation::QueryInterface(const InterfaceId& iid) {
  return QueryInterfaceOf<Cifra::IBase64>(this, iid);
}

void Base64ObjectImplementation::Encode(const std::uint8_t* input, std::uint64_t inputLength,
                                        std::string& output, bool addPadding) {
  const std::less<const std::uint8_t*> isBelow;
  const auto* const text = reinterpret_cast<const std::uint8_t*>(output.data());
  if (!isBelow(input, text) && isBelow(input, text + output.capacity())) {
    // In place: the text is longer than its bytes, and resizing may free them.
    const kx::Wiped<std::vector<std::uint8_t>> copy(input, input + inputLength);
    Encode(copy, output, addPadding);
    return;
  }
  const std::uint64_t encoded = Cifra::Base64Codec::EncodedLength(inputLength, addPadding);
  if (encoded >= kLeastForPieces && encoded > inputLength && output.capacity() < encoded) {
    output = EncodeInPieces(input, inputLength, encoded, addPadding);
    return;
  }
  // If the encoded length wraps around, resizing to the input's length throws.
  output.resize(std::max(encoded, inputLength));
  Cifra::Base64Codec::Encode(input, inputLength, output.data(), addPadding);
}

void Base64ObjectImplementation::Encode(const std::vector<std::uint8_t>& input, std::string& output,
                                        bool addPadding) {
  Encode(input.data(), input.size(), output, addPadding);
}

std::uint64_t Base64ObjectImplementation::GetDecodedSize(std::uint64_t encodedLength) {
  return encodedLength / 4 * 3;
}

std::uint32_t Base64ObjectImplementation::DecodeToBuffer(const std::string& input,
                                                         std::uint8_t* output,
                                                         std::uint64_t* size) {
  const std::uint64_t capacity = *size;
  *size = 0;
  const std::size_t needed = (input.size() + 3) / 4 * 3;
  if (needed == 0 || capacity < needed) {
    return kCifraFunctionFailed;
  }
  const std::size_t padding = PaddingCount(input);
  if (padding > kMaxPadding) {
    return kCifraFunctionFailed;
  }
  const std::size_t written = input.size() % 4 == 0 ? padding : 0;
  const std::size_t decoded = needed - padding;
  if (!Cifra::Base64Codec::Decode(input.data(), input.size() - written, output)) {
    std::memset(output, 0, needed);  // the caller must not take partial data for a result
    return kCifraFunctionFailed;
  }
  std::memset(output + decoded, 0, padding);
  *size = decoded;
  return kCifraSuccess;
}

std::uint32_t Base64ObjectImplementation::Decode(const std::string& input,
                                                 std::vector<std::uint8_t>& output) {
  output.resize(GetDecodedSize(input.size()));
  if (output.empty()) {
    return kCifraFunctionFailed;
  }
  std::uint64_t size = output.size();
  const std::uint32_t result = DecodeToBuffer(input, output.data(), &size);
  output.resize(size);
  return result;
}

#include "cipher/Base64ObjectImplementation.h"

#include <algorithm>
#include <cstring>

#include "Cifra/ResultCodes.h"
#include "cipher/Base64Codec.h"
#include "framework/QueryInterfaceOf.h"

namespace {

constexpr std::size_t kMaxPadding = 2;

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
  const std::uint64_t encoded = Cifra::Base64Codec::EncodedLength(inputLength, addPadding);
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

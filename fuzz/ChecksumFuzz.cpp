#include <fuzzer/FuzzedDataProvider.h>

#include <optional>
#include <string>

#include "Require.h"
#include "hash/ChecksumLine.h"

// Lines of lists of digests: what was written is read again as it was, and what is read from any
// text can be written.
namespace {

using namespace client;
using Cifra::Fuzz::Require;

ChecksumStyle AnyStyle(FuzzedDataProvider& input) {
  return {input.ConsumeBool(), input.ConsumeBool(), input.ConsumeBool()};
}

void RequireSame(const ChecksumLine& line, const std::optional<ChecksumLine>& read) {
  Require(read.has_value());
  Require(read->algorithm == line.algorithm && read->digest == line.digest);
  Require(read->name == line.name);
}

// Without escapes a name is read as it was only where nothing of it looks like one.
bool IsEscapable(const ChecksumLine& line, const ChecksumStyle& style) {
  return !line.name.empty() && (!style.endsWithZero || line.name[0] != '\\');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const ChecksumStyle style = AnyStyle(input);
  const Algorithm& algorithm = input.ConsumeBool() ? kMd5 : kSha256;
  if (input.ConsumeBool()) {
    ChecksumLine line{&algorithm, std::string(algorithm.digits, 'a'), {}};
    line.name = input.ConsumeRemainingBytesAsString();
    if (IsEscapable(line, style)) {
      RequireSame(line, ParseChecksumLine(FormatChecksumLine(line, style), &algorithm));
    }
    return 0;
  }
  const std::optional<ChecksumLine> line =
      ParseChecksumLine(input.ConsumeRemainingBytesAsString(), nullptr);
  if (line) {
    Require(line->digest.size() == line->algorithm->digits);
    Require(HexDigits(line->digest) == line->digest);
    if (IsEscapable(*line, style)) {
      RequireSame(*line, ParseChecksumLine(FormatChecksumLine(*line, style), nullptr));
    }
  }
  return 0;
}

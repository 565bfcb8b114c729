#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Cifra/IBase64.h"
#include "cipher/Base64Text.h"
#include "cipher/CipherCommands.h"
#include "program/CifraLibrary.h"
#include "program/TextOptions.h"
#include "system/Failure.h"
#include "system/Output.h"
#include "system/Paths.h"

namespace client {
namespace {

// Input is worked on in pieces: groups of 3 bytes, groups of 4 characters.
constexpr std::size_t kPieceGroups = 1U << 20;

struct Base64Options {
  TextOptions text;
  std::string output = "-";
  bool isDecoding = false;
};

void Encode(Cifra::IBase64& codec, Input& input, Output& output) {
  std::vector<std::uint8_t> piece(kPieceGroups * 3);
  std::string text;
  bool isEmpty = true;
  std::size_t count = 0;
  do {
    count = input.Read(piece);
    codec.Encode(piece.data(), count, text, true);
    output.Write(text);
    isEmpty = isEmpty && count == 0;
  } while (count == piece.size());
  if (!isEmpty) {
    output.Write(std::string_view("\n"));
  }
}

// Decodes text, which has no white space. Padding ends the whole text: it may be in the last piece
// only.
void DecodePiece(Cifra::IBase64& codec, const std::string& text, bool isLast,
                 const std::string& source, Output& output) {
  std::vector<std::uint8_t> bytes;
  const bool isWrong = codec.Decode(text, bytes) != kCifraSuccess ||
                       (!isLast && bytes.size() != text.size() / 4 * 3);
  if (isWrong) {
    throw Failure(ExitCode::kBadData, source + ": is " + DescribeNotBase64(text));
  }
  output.Write(bytes);
}

void Decode(Cifra::IBase64& codec, Input& input, Output& output) {
  std::vector<std::uint8_t> piece(kPieceGroups * 4);
  std::string text;  // without white space; always some of it is kept until more or the end is seen
  std::size_t count = 0;
  do {
    count = input.Read(piece);
    std::string more(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    RemoveWhiteSpace(more);
    if (!more.empty() && text.size() >= 4) {
      const std::size_t whole = text.size() / 4 * 4;
      DecodePiece(codec, text.substr(0, whole), false, input.Name(), output);
      text.erase(0, whole);
    }
    text += more;
  } while (count == piece.size());
  if (!text.empty()) {
    DecodePiece(codec, text, true, input.Name(), output);
  }
}

void EncodeOrDecode(const Base64Options& options) {
  const CifraLibrary library;
  const CifraObject<Cifra::IBase64> codec(library);
  Input input = options.text.Open();
  Output output(FromArgument(options.output));
  options.isDecoding ? Decode(*codec, input, output) : Encode(*codec, input, output);
  input.Close();
  output.Commit();
}

}  // namespace

void AddBase64Command(Program& program) {
  const auto options = std::make_shared<Base64Options>();
  Command command = program.Add("base64", "Encode bytes as Base64 text, and back");
  AddTextOptions(command, options->text, "The text to encode or decode");
  command.Flag("-d,--decode", options->isDecoding, "Decode Base64 text");
  AddOutputOption(command, options->output);
  command.Explain(R"(Text and files are encoded byte for byte (text as UTF-8), on one line. Decoding
ignores white space and wants the padding (=) at the end.

Examples:
  cifra base64 "some text"
  cifra base64 --input photo.jpg --output photo.txt
  cifra base64 -d --input photo.txt --output photo.jpg)");
  command.OnRun([options] {
    EncodeOrDecode(*options);
    return ExitCode::kSuccess;
  });
}

}  // namespace client

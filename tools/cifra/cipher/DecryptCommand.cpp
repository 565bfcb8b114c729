#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Cifra/IBlowfish.h"
#include "Cifra/IBlowfishAndBase64.h"
#include "cipher/Base64Text.h"
#include "cipher/CipherCommands.h"
#include "cipher/CipherOptions.h"
#include "system/Failure.h"
#include "system/Output.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

struct DecryptOptions : CipherOptions {
  std::optional<std::uint64_t> length;
};

// Asks for the bytes, not for the text, which ends at a zero byte and has replacements for what is
// not UTF-8: a wrong key could not be told from an empty text.
std::string DecryptText(Cifra::IBlowfishAndBase64& cipher, const std::string& base64,
                        const std::string& source) {
  if (base64.empty()) {
    return {};
  }
  std::string bytes;
  if (cipher.DecodeToBytes(base64.data(), base64.size(), bytes) != 1) {
    throw Failure(ExitCode::kBadData, source + ": is " + DescribeNotBase64(base64));
  }
  const std::size_t padding = base64.size() - base64.find_last_not_of('=') - 1;
  if ((base64.size() / 4 * 3 - padding) % kBlockBytes != 0) {
    throw Failure(ExitCode::kBadData, source +
                                          ": is not a whole number of blocks of 8 bytes, so it "
                                          "is cut short or was not made by encrypt");
  }
  const std::size_t end = bytes.find_last_not_of('\0');
  const std::size_t length = end == std::string::npos ? 0 : end + 1;
  const bool isPadded = bytes.size() - length < kBlockBytes;
  bytes.resize(length);
  if (!isPadded || bytes.find('\0') != std::string::npos || !FromUtf8(bytes)) {
    throw Failure(ExitCode::kBadData,
                  source +
                      ": does not give a text with this key: the key is another one, the data "
                      "is damaged, or it was no text");
  }
  return bytes;
}

void DecryptFromText(const DecryptOptions& options) {
  if (options.length) {
    throw Failure(ExitCode::kUsage, "--length goes with --file");
  }
  const KeyedCipher<Cifra::IBlowfishAndBase64> cipher(options, KeyUse::kDecrypt);
  Input input = options.text.Open();
  std::string base64 = input.ReadAll(kMaxTextBytes);
  input.Close();
  RemoveWhiteSpace(base64);
  std::string text = DecryptText(*cipher, base64, input.Name());
  Output output(FromArgument(options.output));
  if (output.IsScreen() && !text.empty() && text.back() != '\n') {
    text += '\n';
  }
  output.Write(text);
  output.Commit();
}

[[noreturn]] void FailForLength(const std::string& source, const char* why) {
  throw Failure(ExitCode::kBadData, source + ": " + why);
}

// Decrypts all of the input. Bytes beyond the length, if there is one, are left out; they must be
// the zero bytes that filled the last block.
void DecryptBytes(Cifra::IBlowfish& cipher, Input& input, Output& output,
                  std::optional<std::uint64_t> length) {
  std::uint64_t total = 0;
  std::vector<std::uint8_t> piece;
  std::size_t count = 0;
  do {
    piece.resize(kCipherPiece);
    count = input.Read(piece);
    if (count % kBlockBytes != 0) {
      FailForLength(input.Name(),
                    "its length is not a multiple of 8, so it is cut short or was not "
                    "made by encrypt --file");
    }
    cipher.Decrypt(piece.data(), count, piece);
    const std::uint64_t wanted = length.value_or(total + count);
    const std::uint64_t kept = std::min<std::uint64_t>(wanted > total ? wanted - total : 0, count);
    const auto end = piece.begin() + static_cast<std::ptrdiff_t>(kept);
    if (std::any_of(end, piece.end(), [](std::uint8_t byte) { return byte != 0; })) {
      FailForLength(input.Name(),
                    "the bytes beyond --length are not zero: the length or the key is "
                    "wrong, or the file is damaged");
    }
    piece.erase(end, piece.end());
    output.Write(piece);
    total += count;
  } while (count == kCipherPiece);
  if (length && (*length > total || PaddedLength(*length) != total)) {
    FailForLength(input.Name(), "--length does not fit the length of the file");
  }
}

void DecryptFromFile(const DecryptOptions& options) {
  const KeyedCipher<Cifra::IBlowfish> cipher(options, KeyUse::kDecrypt);
  Input input(FromArgument(options.bytesFile));
  Output output(FromArgument(options.output));
  DecryptBytes(*cipher, input, output, options.length);
  input.Close();
  output.Commit();
}

}  // namespace

void AddDecryptCommand(Program& program) {
  const auto options = std::make_shared<DecryptOptions>();
  Command command = program.Add("decrypt", "Turn the result of encrypt back");
  AddCipherOptions(command, *options, "The Base64 text to decrypt",
                   "Decrypt the bytes of FILE, which encrypt --file wrote");
  command.Number("--length", options->length, "BYTES",
                 "With --file: write the first BYTES bytes and leave out the zero bytes that "
                 "filled the last block. Without it they are written, too");
  command.Explain(
      R"(White space in the Base64 text is ignored. The text is written as it was, with
no line end added; only on a screen one is added where it has none.

A wrong key is noticed for text, where it hardly ever gives text again, and for
files with --length. Otherwise the result of a wrong key is nonsense.

Examples:
  cifra decrypt --key-file my.key "n8jIVrAhSCw="
  cifra decrypt --key-file my.key --input notes.enc --output notes.txt
  cifra decrypt --key-env MY_KEY --file photo.enc --length 48211 -o photo.jpg)");
  command.OnRun([options] {
    options->bytesFile.empty() ? DecryptFromText(*options) : DecryptFromFile(*options);
    return ExitCode::kSuccess;
  });
}

}  // namespace client

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "Cifra/IBlowfish.h"
#include "Cifra/IBlowfishAndBase64.h"
#include "cipher/CipherCommands.h"
#include "cipher/CipherOptions.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/Output.h"
#include "system/Paths.h"
#include "system/Unicode.h"

namespace client {
namespace {

struct EncryptOptions : CipherOptions {
  bool isQuiet = false;
};

// The library takes UTF-16 up to its terminator and ends the process when the result does not fit:
// what it cannot take is refused here, and the result's length computed.
std::string EncryptText(Cifra::IBlowfishAndBase64& cipher, const std::string& utf8,
                        const std::string& source) {
  const std::optional<std::wstring> text = FromUtf8(utf8);
  if (!text) {
    throw Failure(ExitCode::kBadData, source + ": is not UTF-8 text; use --file to encrypt bytes");
  }
  if (text->find(L'\0') != std::wstring::npos) {
    throw Failure(ExitCode::kBadData,
                  source + ": has a zero byte, which ends a text; use --file to encrypt bytes");
  }
  const std::uint64_t capacity = (PaddedLength(utf8.size()) + 2) / 3 * 4 + 1;  // its terminator too
  static_assert((PaddedLength(kMaxTextBytes) + 2) / 3 * 4 + 1 <=
                std::numeric_limits<std::uint32_t>::max());
  std::wstring result(static_cast<std::size_t>(capacity), L'\0');
  if (cipher.EncodeText(text->c_str(), result.data(), static_cast<std::uint32_t>(capacity)) != 1) {
    throw Failure(ExitCode::kInternal, "Cifra.dll did not encrypt the text");
  }
  result.resize(result.find(L'\0'));
  return ToUtf8(result);
}

void EncryptFromText(const EncryptOptions& options) {
  const KeyedCipher<Cifra::IBlowfishAndBase64> cipher(options, KeyUse::kEncrypt);
  Input input = options.text.Open();
  std::string result = EncryptText(*cipher, input.ReadAll(kMaxTextBytes), input.Name());
  input.Close();
  if (!result.empty()) {
    result += '\n';
  }
  Output output(FromArgument(options.output));
  output.Write(result);
  output.Commit();
}

void EncryptFromFile(const EncryptOptions& options) {
  const KeyedCipher<Cifra::IBlowfish> cipher(options, KeyUse::kEncrypt);
  Input input(FromArgument(options.bytesFile));
  Output output(FromArgument(options.output));
  std::uint64_t total = 0;
  std::vector<std::uint8_t> piece;
  std::size_t count = 0;
  do {
    piece.resize(kCipherPiece);
    count = input.Read(piece);
    cipher->Encrypt(piece.data(), count, piece);
    output.Write(piece);
    total += count;
  } while (count == kCipherPiece);
  input.Close();
  output.Commit();
  const std::uint64_t added = PaddedLength(total) - total;
  if (added > 0 && !options.isQuiet) {
    WriteMessage("note: " + std::to_string(added) +
                 " zero bytes fill the last block; decrypt with " + "--length " +
                 std::to_string(total) + " to leave them out");
  }
}

}  // namespace

void AddEncryptCommand(Program& program) {
  const auto options = std::make_shared<EncryptOptions>();
  Command command = program.Add("encrypt", "Encrypt text, or the bytes of a file");
  AddCipherOptions(command, *options, "The text to encrypt",
                   "Encrypt the bytes of FILE, whatever they are, and write bytes");
  command.Flag("-q,--quiet", options->isQuiet,
               "Do not say how many zero bytes were added to the bytes of a file");
  command.Explain(R"(The text is encrypted with Blowfish and written as one line of Base64.
With --file the result is bytes: the input, filled with zero bytes to a multiple
of 8, encrypted block by block.

The key has 1 to 56 bytes. Without --key-file and --key-env you are asked for
it.

Blowfish is used here without chaining: equal blocks of 8 bytes give equal
ciphertext, and nothing shows whether the ciphertext was changed.

Examples:
  cifra encrypt --key-file my.key "some text"
  cifra encrypt --key-file my.key --input notes.txt --output notes.enc
  cifra encrypt --key-env MY_KEY --file photo.jpg --output photo.enc)");
  command.OnRun([options] {
    options->bytesFile.empty() ? EncryptFromText(*options) : EncryptFromFile(*options);
    return ExitCode::kSuccess;
  });
}

}  // namespace client

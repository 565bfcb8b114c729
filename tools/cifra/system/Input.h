#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>

#include "system/Handles.h"

namespace client {

struct ListedFile;

// Input reads a file, or standard input under the name "-". Whatever fails is a Failure kCannotRead
// that names the file.
class Input {
 public:
  explicit Input(const std::wstring& path);
  explicit Input(const ListedFile& file);
  // Reads a text that is there already, from the command line.
  static Input OfText(std::string text);

  // Fills the buffer, unless the input ends before. Returns the bytes read; fewer than the
  // buffer holds only at the end.
  std::size_t Read(std::span<std::uint8_t> buffer);
  // Reads the beginning now, by means of the buffer; the next Read hands it out.
  void ReadBeginning(std::span<std::uint8_t> buffer);
  // All that is left. Failure kBadData when that is more than the limit; a file's size is known
  // before it is read.
  std::string ReadAll(std::uint64_t limit = std::numeric_limits<std::uint64_t>::max());

  // What to call it in a message, in UTF-8.
  const std::string& Name() const { return name; }
  void Close();

 private:
  Input() = default;
  void OpenStandard();
  void Open(const std::wstring& path);
  std::size_t ReadSome(std::span<std::uint8_t> buffer);
  std::size_t TakePending(std::span<std::uint8_t> buffer);

  std::string name;
  FileHandle file;          // owned; empty for standard input
  HANDLE handle = nullptr;  // where to read from; null for a text
  bool isConsole = false;
  bool isAtEnd = false;
  std::string pending;  // what was read, or the given text, that nobody took yet
};

}  // namespace client

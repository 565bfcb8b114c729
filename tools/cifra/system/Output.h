#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "system/Handles.h"
#include "system/TemporaryFile.h"

namespace client {

// Output writes to a file or, under the name "-", to standard output. A file appears under its
// name, complete, when Commit is called, or not at all: what is written goes to a temporary file in
// the same folder, which vanishes with this object or with the process. Whatever fails is a Failure
// kCannotWrite that names the file.
class Output {
 public:
  explicit Output(const std::wstring& path);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Write(std::string_view bytes);
  void Write(std::span<const std::uint8_t> bytes) {
    Write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
  void Commit();

  // True for standard output that is a console.
  bool IsScreen() const;

 private:
  void WriteNow(std::string_view bytes);
  [[noreturn]] void Fail(const char* what) const;

  std::string name;
  std::wstring target;  // empty when there is no file to be named
  TemporaryFile file;
  FileHandle device;
  HANDLE handle = nullptr;
  std::string unfinished;  // bytes of an incomplete UTF-8 character held back from the console
};

}  // namespace client

#pragma once

#include <string>

#include "system/Handles.h"

namespace client {

// TemporaryFile is a file that has not got its name yet. Until Publish gives it one, it vanishes
// with this object or with the process, however that ends. Where the volume has hard links there is
// no instant at which a process that is killed leaves the temporary name behind; elsewhere there is
// a short one inside Publish.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Creates the file in a folder, which is empty for the current one or has a separator at its end.
  // False, with the system's last error, when it fails.
  bool Create(const std::wstring& folder);
  // Gives the file its name, replacing a file that has it, and closes it. False, with the system's
  // last error, when it fails.
  bool Publish(const std::wstring& target);

  HANDLE Handle() const { return file.get(); }

 private:
  bool Open(const std::wstring& path, DWORD flags);

  std::wstring name;  // empty when there is no file, or none to delete
  FileHandle file;
  bool isLinkable = false;  // opened to be deleted when it is closed, and may get more names
};

}  // namespace client
